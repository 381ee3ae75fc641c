#include "bridge/host/document.h"

#include <cstdio>
#include <stdexcept>
#include <utility>

#include "base/product.h"
#include "kit/program/paths.h"
#include "platform/desktop_system.h"

namespace Bridge {

using nlohmann::json;
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
// Names of members live as long as the host.
constexpr size_t kMaxNameBytes = size_t{256} << 20;

json Error(const std::string& sentence) {
  return {{"error", sentence}};
}

json Value(json value) {
  return {{"value", std::move(value)}};
}

}  // namespace

Document::Document(std::filesystem::path path, const Hello& attested, Send send)
    : modulePath(std::move(path)), address(AddressOf(attested)), functions(std::move(send)) {}

Document::~Document() {
  pages.clear();
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

Document::Page::Page(Document& document, const Request& request)
    : window(platform::MakeWindow(platform::DefaultProcedure, {0, 0}, request.width, request.height)),
      instance(document, document.module->Funcs(), document.AddInstance(), NorvoWebAPI::KSV::kMimeType,
               {{"type", NorvoWebAPI::KSV::kMimeType},
                {"width", std::to_string(request.width)},
                {"height", std::to_string(request.height)}}) {
  if (!window) throw std::runtime_error("The system has no window for the plug-in.");
  instance.SetWindow(window.Get(), request.width, request.height);
  instance.Scriptable();
}

json Document::Create(const Request& request) {
  if (request.instance <= lastInstance) throw ProtocolError("an instance's number is used again");
  lastInstance = request.instance;
  if (pages.size() >= kMaxInstances) return Error("The document has too many elements of the plug-in's.");
  try {
    if (!module) module = std::make_unique<NpHost::Module>(modulePath, Funcs());
    pages.try_emplace(request.instance, *this, request);
    return Value({{"undefined", true}});
  } catch (const std::runtime_error& error) {
    return Error(Kit::TextOf(modulePath) + ": " + error.what() + " Install the plug-in again, and reload the page.");
  }
}

NPObject* Document::ObjectOf(uint32_t instance) {
  const auto found = pages.find(instance);
  return found == pages.end() ? nullptr : found->second.instance.Scriptable();
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
  return Value(WriteValue(*result.Get()));
}

json Document::Answer(const Request& request) {
  if (request.action == Action::Create) return Create(request);
  if (request.instance > lastInstance) throw ProtocolError("there is no such instance");
  const auto page = pages.find(request.instance);
  if (page == pages.end()) return Error("the plug-in's instance has ended");
  if (request.action != Action::Destroy) return Use(page->second.instance, request);
  pages.erase(page);
  return Value({{"undefined", true}});
}

}  // namespace Bridge
