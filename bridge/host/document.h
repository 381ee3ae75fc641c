/// One document of a browser's, with the module and the document's instances: the host is the module's browser.
#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "bridge/host/display_window.h"
#include "bridge/host/page_functions.h"
#include "bridge/host/protocol.h"
#include "kit/nphost/host.h"
#include "kit/nphost/instance.h"
#include "kit/nphost/module.h"

namespace Bridge {

/// Everything runs on the thread that makes it, which has to take messages between requests: the module's events come
/// that way.
class Document : private NpHost::Host {
 public:
  /// What takes what the module has done to the page's functions.
  struct Browser {
    std::function<void(const nlohmann::json&)> send;
    /// Sends a "run", and returns when the page has run the function, or does not in time. Answers requests meanwhile.
    std::function<void(nlohmann::json)> runNow;
  };

  Document(std::filesystem::path module, const Hello& attested, Browser browser);
  ~Document() override;

  /// The answer to a request: {"value": …} or {"error": …}. Throws `ProtocolError`.
  nlohmann::json Answer(const Request& request);
  /// Sends which of the page's functions the module has let go, in one message.
  void TellForgotten() { functions.TellForgotten(); }
  /// Moves the window of an instance. Throws `ProtocolError`.
  void Move(const Placed& placed);

 private:
  struct Element {
    Element(Document& document, const Request& request);
    DisplayWindow window;
    NpHost::Instance instance;
    /// A frame has been shown in this session: before the next one the module releases the image.
    bool hasHadFrame = false;
  };

  NPObject* WindowOf(NPP instance) override;
  const char* UserAgent() override { return "ksv-bridge"; }
  void SetException(NPObject* object, const char* message) override;
  void ReportMisuse(const std::string& misuse) override;

  void Tell(const nlohmann::json& message);
  nlohmann::json Create(const Request& request);
  NPObject* ObjectOf(uint32_t instance);
  nlohmann::json Use(NpHost::Instance& instance, const Request& request);
  void FollowImage(const std::string& method, uint32_t instance, const nlohmann::json& result);

  const std::filesystem::path modulePath;
  const std::string origin;
  const std::string address;
  const Browser browser;
  bool isPageBusy = false;
  PageFunctions functions;
  std::unique_ptr<NpHost::Module> module;
  std::map<uint32_t, Element> elements;
  uint32_t lastInstance = 0;
  std::optional<std::string> exception;
};

}  // namespace Bridge
