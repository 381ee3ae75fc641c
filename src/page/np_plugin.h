#pragma once

#include <stdexcept>

#include "page/url_networking.h"
#include "script/host_values.h"

namespace NorvoWebAPI {

/// One embedded object as the host's instance calls see it: `P` is the class itself, `S` the class that its page
/// scripts. Every operation runs on the browser's thread, behind the guard of its entry.
template <typename P, typename S>
class NPPlugin : public URLNetworking {
 public:
  /// Throws `std::runtime_error` without a host table.
  NPPlugin(NPP instance, const NPNetscapeFuncs* funcs) : URLNetworking(instance, funcs) {
    if (!funcs) throw std::runtime_error("Null NPN functions passed to NPPlugin\n");
  }
  ~NPPlugin() override {
    if (scriptableObject) ReleaseQuietly([this] { npnFuncs->releaseobject(scriptableObject); });
  }

  virtual NPError Destroy(NPSavedData** /*saved*/) {
    delete static_cast<P*>(this);
    return NPERR_NO_ERROR;
  }
  virtual NPError SetWindow(NPWindow* /*npWindow*/) { return NPERR_NO_ERROR; }
  virtual void StreamAsFile(NPStream* /*stream*/, const char* /*fname*/) {}
  virtual void Print(NPPrint* /*platformPrint*/) {}
  virtual int16_t HandleEvent(void* /*event*/) { return 1; }
  virtual NPError GetValue(NPPVariable variable, void* out);
  virtual NPError SetValue(NPNVariable /*variable*/, void* /*value*/) { return NPERR_NO_ERROR; }
  virtual const char* GetPluginName() = 0;
  virtual const char* GetPluginDescription() = 0;
  virtual S* GetScriptable() { return nullptr; }

 protected:
  /// Null until the host asks for it; one reference is held.
  NPObject* scriptableObject = nullptr;
  /// The host's record has the scriptable, or is being made for it. It is made once, also when the host then gives no
  /// object.
  bool handedOver = false;

 private:
  NPError GetScriptableObject(NPObject** out);
};

template <typename P, typename S>
NPError NPPlugin<P, S>::GetValue(NPPVariable variable, void* out) {
  if (!out) return NPERR_GENERIC_ERROR;
  switch (variable) {
    case NPPVpluginNameString:
      *static_cast<const char**>(out) = GetPluginName();
      return NPERR_NO_ERROR;
    case NPPVpluginDescriptionString:
      *static_cast<const char**>(out) = GetPluginDescription();
      return NPERR_NO_ERROR;
    case NPPVpluginNeedsXEmbed:
      *static_cast<NPBool*>(out) = 1;
      return NPERR_NO_ERROR;
    case NPPVpluginScriptableNPObject:
      return GetScriptableObject(static_cast<NPObject**>(out));
    default:
      return NPERR_GENERIC_ERROR;
  }
}

template <typename P, typename S>
NPError NPPlugin<P, S>::GetScriptableObject(NPObject** out) {
  if (!scriptableObject) {
    S* const scriptable = GetScriptable();
    if (!scriptable || handedOver) return NPERR_GENERIC_ERROR;
    handedOver = true;
    NPObject* const made = S::CreateObject(npp, npnFuncs, scriptable, &handedOver);
    // The host may have ended it again while it made it.
    if (!made || !GetScriptable() || GetScriptable()->IsDeallocated()) return NPERR_GENERIC_ERROR;
    scriptableObject = made;
  }
  NPObject* const object = scriptableObject;
  npnFuncs->retainobject(object);
  *out = object;
  return NPERR_NO_ERROR;
}

}  // namespace NorvoWebAPI
