#include "kit/host/plugin_module.h"
#include "shell/exports.h"

namespace Kit {
namespace {

template <typename Entry>
Entry EntryOf(HMODULE module, const char* name) {
  return reinterpret_cast<Entry>(reinterpret_cast<void*>(GetProcAddress(module, name)));
}

}  // namespace

NPError StartModule(HMODULE module, NPNetscapeFuncs* host, NPPluginFuncs* plugin) {
  const auto getEntryPoints = EntryOf<decltype(&NP_GetEntryPoints)>(module, "NP_GetEntryPoints");
  const auto initialize = EntryOf<decltype(&NP_Initialize)>(module, "NP_Initialize");
  if (!getEntryPoints || !initialize) return NPERR_INVALID_FUNCTABLE_ERROR;
  const NPError given = getEntryPoints(plugin);
  return given == NPERR_NO_ERROR ? initialize(host) : given;
}

}  // namespace Kit
