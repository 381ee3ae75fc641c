/// One document of a browser's, with the module and the document's instances: the host is the module's browser.
#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "base/owner.h"
#include "bridge/host/page_values.h"
#include "bridge/host/protocol.h"
#include "kit/nphost/host.h"
#include "kit/nphost/instance.h"
#include "kit/nphost/module.h"

namespace Bridge {

/// Everything runs on the thread that makes it, which has to take messages between requests: the module's events come
/// that way.
class Document : private NpHost::Host {
 public:
  using Send = std::function<void(const nlohmann::json&)>;

  /// `send` takes what the module has done to the page's functions.
  Document(std::filesystem::path module, const Hello& attested, Send send);
  ~Document() override;

  /// The answer to a request: {"value": …} or {"error": …}. Throws `ProtocolError`.
  nlohmann::json Answer(const Request& request);
  /// Sends which of the page's functions the module has let go, in one message.
  void TellForgotten() { functions.TellForgotten(); }

 private:
  using Window = NorvoWebAPI::Owner<HWND, DestroyWindow>;
  struct Page {
    Page(Document& document, const Request& request);
    Window window;
    NpHost::Instance instance;
  };

  NPObject* WindowOf(NPP instance) override;
  const char* UserAgent() override { return "ksv-bridge"; }
  void SetException(NPObject* object, const char* message) override;
  void ReportMisuse(const std::string& misuse) override;

  nlohmann::json Create(const Request& request);
  NPObject* ObjectOf(uint32_t instance);
  nlohmann::json Use(NpHost::Instance& instance, const Request& request);

  const std::filesystem::path modulePath;
  const std::string address;
  PageFunctions functions;
  std::unique_ptr<NpHost::Module> module;
  std::map<uint32_t, Page> pages;
  uint32_t lastInstance = 0;
  std::optional<std::string> exception;
};

}  // namespace Bridge
