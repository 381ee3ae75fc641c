#pragma once

#include <memory>
#include <stdexcept>

#include "page/url_networking.h"

namespace NorvoWebAPI {

/// The base of a plug-in instance: one operation for each `NPP_` entry. `P` is the derived class, `S` the class of its
/// scriptable object. Every operation runs on the browser's thread; the entry that calls it catches exceptions.
template <typename P, typename S>
class NPPlugin : public URLNetworking {
 public:
  /// Throws `std::runtime_error` without a host table.
  NPPlugin(NPP instance, const NPNetscapeFuncs* funcs) : URLNetworking(instance, funcs) {
    if (!funcs) throw std::runtime_error("Null NPN functions passed to NPPlugin\n");
  }
  ~NPPlugin() override {
    if (scriptableObject) npnFuncs->releaseobject(scriptableObject);
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
  virtual std::shared_ptr<S> GetScriptable() { return nullptr; }

 protected:
  /// The host's object for the scriptable; null until the host asks for it. One reference is held.
  NPObject* scriptableObject = nullptr;

 private:
  NPError GetScriptableObject(NPObject** out);
};

template <typename P, typename S>
NPError NPPlugin<P, S>::GetValue(NPPVariable variable, void* out) {
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
    if (const std::shared_ptr<S> scriptable = GetScriptable()) {
      scriptableObject = S::CreateObject(npp, npnFuncs, scriptable);
    }
    if (!scriptableObject) return NPERR_GENERIC_ERROR;
  }
  npnFuncs->retainobject(scriptableObject);
  *out = scriptableObject;
  return NPERR_NO_ERROR;
}

}  // namespace NorvoWebAPI
