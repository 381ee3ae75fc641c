#include "kit/host/plugin_module.h"
#include "shell/exports.h"

namespace Kit {

NPError StartModule(HMODULE module, NPNetscapeFuncs* host, NPPluginFuncs* plugin) {
  const auto initialize =
      reinterpret_cast<decltype(&NP_Initialize)>(reinterpret_cast<void*>(GetProcAddress(module, "NP_Initialize")));
  return initialize ? initialize(host, plugin) : NPError{NPERR_INVALID_FUNCTABLE_ERROR};
}

}  // namespace Kit
