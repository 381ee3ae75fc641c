// The module that the engine loads. The engine gives plug-ins no window handle, but events need one: this module wraps
// the real one and gives each new instance a window of the browser's own. The browser sets KSV_BROWSER_MODULE to the
// real one's path and exports KsvBrowserNewWindow.
#include <dlfcn.h>

#include "kit/browser/fronted_module.h"

namespace {

using NewWindow = void* (*)();

NPPluginFuncs module;

NPError NewInstance(NPMIMEType type, NPP instance, uint16_t mode, int16_t argc, char* argn[], char* argv[],
                    NPSavedData* saved) {
  const NPError made = module.newp(type, instance, mode, argc, argn, argv, saved);
  if (made != NPERR_NO_ERROR) return made;
  const auto newWindow = reinterpret_cast<NewWindow>(dlsym(RTLD_DEFAULT, "KsvBrowserNewWindow"));
  NPWindow window{};
  window.window = newWindow ? newWindow() : nullptr;
  return module.setwindow(instance, &window);
}

// Ignores the engine's window, which has no handle; the instance keeps its own.
NPError KeepWindow(NPP /*instance*/, NPWindow* /*window*/) {
  return NPERR_NO_ERROR;
}

}  // namespace

KSV_EXPORT NPError NP_Initialize(NPNetscapeFuncs* host, NPPluginFuncs* plugin) {
  const NPError started = Kit::InitializeFronted(host, plugin);
  if (started != NPERR_NO_ERROR) return started;
  module = *plugin;
  plugin->newp = NewInstance;
  plugin->setwindow = KeepWindow;
  return NPERR_NO_ERROR;
}
