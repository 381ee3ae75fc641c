// The module as the engine loads it. The engine gives plug-ins no window handle, and events need one: this stands in
// front of the real module and hands each new instance a window of the browser's own. The browser names the real one in
// KSV_BROWSER_MODULE and exports the window source.
#include <dlfcn.h>

#include <cstdlib>

#include "npapi/npfunctions.h"

namespace {

using Initialize = NPError (*)(NPNetscapeFuncs*, NPPluginFuncs*);
using GetMIMEDescription = const char* (*)();
using GetValue = NPError (*)(void*, NPPVariable, void*);
using Shutdown = NPError (*)();
using NewWindow = void* (*)();

NPPluginFuncs module;

template <typename Entry>
Entry ModuleEntry(const char* name) {
  // Never closed: instances may outlive the engine's interest in the module.
  static void* const loaded = dlopen(std::getenv("KSV_BROWSER_MODULE"), RTLD_LAZY | RTLD_LOCAL);
  return loaded ? reinterpret_cast<Entry>(dlsym(loaded, name)) : nullptr;
}

NPError NewInstance(NPMIMEType type, NPP instance, uint16_t mode, int16_t argc, char* argn[], char* argv[],
                    NPSavedData* saved) {
  const NPError made = module.newp(type, instance, mode, argc, argn, argv, saved);
  if (made != NPERR_NO_ERROR) return made;
  const auto newWindow = reinterpret_cast<NewWindow>(dlsym(RTLD_DEFAULT, "KsvBrowserNewWindow"));
  NPWindow window{};
  window.window = newWindow ? newWindow() : nullptr;
  return module.setwindow(instance, &window);
}

// The engine tells of a window that it never made; the instance keeps the one that it has.
NPError KeepWindow(NPP /*instance*/, NPWindow* /*window*/) {
  return NPERR_NO_ERROR;
}

}  // namespace

#define KSV_EXPORT extern "C" __attribute__((visibility("default")))

KSV_EXPORT NPError NP_Initialize(NPNetscapeFuncs* host, NPPluginFuncs* plugin) {
  const auto initialize = ModuleEntry<Initialize>("NP_Initialize");
  const NPError started = initialize ? initialize(host, plugin) : NPError{NPERR_GENERIC_ERROR};
  if (started != NPERR_NO_ERROR) return started;
  module = *plugin;
  plugin->newp = NewInstance;
  plugin->setwindow = KeepWindow;
  return NPERR_NO_ERROR;
}

KSV_EXPORT const char* NP_GetMIMEDescription() {
  const auto describe = ModuleEntry<GetMIMEDescription>("NP_GetMIMEDescription");
  return describe ? describe() : "";
}

KSV_EXPORT NPError NP_GetValue(void* future, NPPVariable variable, void* value) {
  const auto getValue = ModuleEntry<GetValue>("NP_GetValue");
  return getValue ? getValue(future, variable, value) : NPError{NPERR_GENERIC_ERROR};
}

KSV_EXPORT NPError NP_Shutdown() {
  const auto shutdown = ModuleEntry<Shutdown>("NP_Shutdown");
  return shutdown ? shutdown() : NPError{NPERR_NO_ERROR};
}
