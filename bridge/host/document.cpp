#include "bridge/host/document.h"

#include <cstdio>
#include <stdexcept>
#include <utility>

#include "base/product.h"
#include "base/scope_exit.h"
#include "bridge/host/page_values.h"
#include "kit/program/paths.h"

namespace Bridge {

using nlohmann::json;
using NorvoWebAPI::ScopeExit;
using NpHost::Host;

namespace {

// What the module reads as the page's address. A document that inherits its origin has an address of its own that
// doesn't name it; an opaque origin is none.
std::string AddressOf(const Hello& attested) {
  if (attested.origin == "null" || attested.origin.empty()) return "";
  const std::string root = attested.origin + "/";
  return attested.address.starts_with(root) ? attested.address : root;
}

constexpr size_t kMaxInstances = 1'000;
// Names are kept until the host ends, so what a page can use of them is limited.
constexpr size_t kMaxNameBytes = size_t{256} << 20;

json Error(const std::string& sentence) {
  return {{"error", sentence}};
}

json Value(json value) {
  return {{"value", std::move(value)}};
}

}  // namespace

Document::Document(std::filesystem::path path, const Hello& attested, Browser toBrowser)
    : modulePath(std::move(path)),
      origin(attested.origin),
      address(AddressOf(attested)),
      browser(std::move(toBrowser)),
      functions([this](const json& message) { Tell(message); }) {}

Document::~Document() {
  elements.clear();
  module.reset();
}

NPObject* Document::WindowOf(NPP /*instance*/) {
  try {
    return MakeWindow(address);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

void Document::SetException(NPObject* /*object*/, const char* message) {
  exception = message ? message : "the plug-in gave no reason";
}

void Document::ReportMisuse(const std::string& misuse) {
  std::fprintf(stderr, "ksv-bridge: %s\n", misuse.c_str());
}

Document::Element::Element(Document& document, const Request& request)
    : window(document.origin, request.width, request.height),
      instance(document, document.module->Funcs(), document.AddInstance(), NorvoWebAPI::KSV::kMimeType,
               {{"type", NorvoWebAPI::KSV::kMimeType},
                {"width", std::to_string(request.width)},
                {"height", std::to_string(request.height)}}) {
  instance.SetWindow(window.Handle(), request.width, request.height);
  instance.Scriptable();
}

// A display takes a click only while the system delivers it, so the page's function has to run, and call back, before
// this returns. All other messages are sent and not waited for; so are those to a page that is itself at work, in a
// call or in a function that is awaited: it can't run another one now.
void Document::Tell(const json& message) {
  if (isPageBusy || !message.contains("run") || !DisplayWindow::IsInClick()) return browser.send(message);
  const ScopeExit restore([this] { isPageBusy = false; });
  isPageBusy = true;
  browser.runNow(message);
}

json Document::Create(const Request& request) {
  if (request.instance <= lastInstance) throw ProtocolError("an instance's number is used again");
  lastInstance = request.instance;
  if (elements.size() >= kMaxInstances) return Error("The document has too many elements of the plug-in's.");
  try {
    if (!module) module = std::make_unique<NpHost::Module>(modulePath, Funcs());
    elements.try_emplace(request.instance, *this, request);
    return Value({{"undefined", true}});
  } catch (const std::runtime_error& error) {
    return Error(Kit::TextOf(modulePath) + ": " + error.what() + " Install the plug-in again, and reload the page.");
  }
}

NPObject* Document::ObjectOf(uint32_t instance) {
  const auto found = elements.find(instance);
  return found == elements.end() ? nullptr : found->second.instance.Scriptable();
}

json Document::Use(NpHost::Instance& instance, const Request& request) {
  const NPNetscapeFuncs& call = Funcs();
  const NPP npp = instance.Record();
  NPObject* const object = instance.Scriptable();
  const NpHost::Variant hold(object);
  const NPIdentifier name = IdOfName(request.name);
  NpHost::VariantList values;
  ReadValues(request.content, {functions, [this](uint32_t number) { return ObjectOf(number); }}, values);
  if (NameBytes() > kMaxNameBytes) throw ProtocolError("the page has used too many different names");
  NpHost::Variant result;
  exception.reset();
  bool done = false;
  switch (request.action) {
    case Action::Call:
      done = call.invoke(npp, object, name, values.Data(), values.Size(), result.Get());
      break;
    case Action::Set:
      done = call.setproperty(npp, object, name, values.Data());
      break;
    default:
      if (!call.hasproperty(npp, object, name)) return Value({{"undefined", true}});
      done = call.getproperty(npp, object, name, result.Get());
  }
  if (!done) return Error(exception.value_or("the plug-in refused " + request.name));
  json value = WriteValue(*result.Get());
  if (request.action == Action::Call) FollowImage(request.name, request.instance, value);
  return Value(std::move(value));
}

// Whether the window has an image is known only from the results of calls.
void Document::FollowImage(const std::string& method, uint32_t instance, const json& result) {
  enum class Effect { Image, Frame, Cancel, End };
  static const std::map<std::string, Effect, std::less<>> effects = {{"wysCreateStdImage", Effect::Image},
                                                                     {"wysSubmitFrame", Effect::Frame},
                                                                     {"wysProcessRemoteWysMessage", Effect::Frame},
                                                                     {"wysCancelButton", Effect::Cancel},
                                                                     {"wysCloseSession", Effect::End},
                                                                     {"wysDeInit", Effect::End}};
  const auto known = effects.find(method);
  const auto found = elements.find(instance);  // The page may have ended it inside the call.
  if (known == effects.end() || found == elements.end() || !result.is_object()) return;
  const auto code = [&](const char* name) {
    for (const json& member : result.value("object", json::array())) {
      if (member[0] == name) return member[1];
    }
    return json();
  };
  const json status = code("fnRetCode");
  if (status.is_null()) return;  // The library was not called: an image stays.
  const Effect effect = known->second;
  // An image that was made but could not be painted is there, with the painting's status.
  const bool succeeded =
      effect == Effect::Image ? !code("ImageId").is_null() : status == 0 && code("pluginRetCode") == 0;
  Element& element = found->second;
  // Two calls lose the image even if they fail: the end of a session, and a second frame, for which the module has
  // released the first one.
  const bool losesAnyway = effect == Effect::End || (effect == Effect::Frame && element.hasHadFrame);
  const bool draws = effect == Effect::Image || effect == Effect::Frame;
  if (succeeded || losesAnyway) element.window.SetHasImage(succeeded && draws);
  if (succeeded && effect == Effect::Frame) element.hasHadFrame = true;
  if (effect == Effect::End) element.hasHadFrame = false;
}

void Document::Move(const Placed& placed) {
  if (placed.instance > lastInstance) throw ProtocolError("there is no such instance");
  const auto element = elements.find(placed.instance);
  if (element != elements.end()) element->second.window.MoveTo(placed.place);
}

json Document::Answer(const Request& request) {
  const ScopeExit restore([this, before = std::exchange(isPageBusy, true)] { isPageBusy = before; });
  if (request.action == Action::Create) return Create(request);
  if (request.instance > lastInstance) throw ProtocolError("there is no such instance");
  const auto element = elements.find(request.instance);
  if (element == elements.end()) return Error("the plug-in's instance has ended");
  if (request.action != Action::Destroy) return Use(element->second.instance, request);
  elements.erase(element);
  return Value({{"undefined", true}});
}

}  // namespace Bridge
