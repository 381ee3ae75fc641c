#include "kit/browser/fronted_module.h"

#include <dlfcn.h>

#include <cstdlib>

namespace {

using Initialize = NPError (*)(NPNetscapeFuncs*, NPPluginFuncs*);
using GetMIMEDescription = const char* (*)();
using GetValue = NPError (*)(void*, NPPVariable, void*);
using Shutdown = NPError (*)();

template <typename Entry>
Entry FrontedEntry(const char* name) {
  // Never closed, because instances may live on after the engine has unloaded the wrapper.
  static void* const loaded = dlopen(std::getenv(KSV_FRONTED), RTLD_LAZY | RTLD_LOCAL);
  return loaded ? reinterpret_cast<Entry>(dlsym(loaded, name)) : nullptr;
}

}  // namespace

NPError Kit::InitializeFronted(NPNetscapeFuncs* host, NPPluginFuncs* plugin) {
  const auto initialize = FrontedEntry<Initialize>("NP_Initialize");
  return initialize ? initialize(host, plugin) : NPError{NPERR_GENERIC_ERROR};
}

KSV_EXPORT const char* NP_GetMIMEDescription() {
  const auto describe = FrontedEntry<GetMIMEDescription>("NP_GetMIMEDescription");
  return describe ? describe() : "";
}

KSV_EXPORT NPError NP_GetValue(void* future, NPPVariable variable, void* value) {
  const auto getValue = FrontedEntry<GetValue>("NP_GetValue");
  return getValue ? getValue(future, variable, value) : NPError{NPERR_GENERIC_ERROR};
}

KSV_EXPORT NPError NP_Shutdown() {
  const auto shutdown = FrontedEntry<Shutdown>("NP_Shutdown");
  return shutdown ? shutdown() : NPError{NPERR_NO_ERROR};
}
