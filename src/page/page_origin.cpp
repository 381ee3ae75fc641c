#include <stdexcept>

#include "page/scriptable.h"
#include "script/host_values.h"
#include "tokens/origin.h"

namespace NorvoWebAPI::KSV {

const std::string& Scriptable::PageOrigin() {
  static std::string origin;
  life->DemandAlive();
  NPObject* windowObject = nullptr;
  if (npnFuncs->getvalue(npp, NPNVWindowNPObject, &windowObject) != NPERR_NO_ERROR) return origin;
  const HostObject window(npnFuncs, windowObject);
  const NPIdentifier locationId = npnFuncs->getstringidentifier("location");
  if (!window.Get() || !npnFuncs->hasproperty(npp, window.Get(), locationId)) {
    throw std::runtime_error("Failed to get requesting url");
  }
  life->DemandAlive();
  HostVariant location(npnFuncs);
  if (!npnFuncs->getproperty(npp, window.Get(), locationId, location.Out())) {
    throw std::runtime_error("Failed to get url property");
  }
  life->DemandAlive();
  if (location.Get().type != NPVariantType_Object) throw std::runtime_error("NP Variant not an object");
  const NPIdentifier toStringId = npnFuncs->getstringidentifier("toString");
  HostVariant text(npnFuncs);
  if (!npnFuncs->invoke(npp, location.Get().value.objectValue, toStringId, nullptr, 0, text.Out())) {
    throw std::runtime_error("Failed to invoke requesting url");
  }
  if (text.Get().type != NPVariantType_String) throw std::runtime_error("Failed to get page domain string");
  origin = TextOf(text.Get().value.stringValue);
  NormalizeOrigin(origin);
  return origin;
}

}  // namespace NorvoWebAPI::KSV
