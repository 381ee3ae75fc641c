#include "kit/nphost/module.h"

namespace NpHost {

NPError Initialize(InitializeEntry initialize, NPNetscapeFuncs* host, NPPluginFuncs* /*plugin*/) {
  return initialize(host);
}

NPError StartModule(const ModuleEntries& entries, NPNetscapeFuncs* host, NPPluginFuncs* plugin) {
  if (!entries.getEntryPoints || !entries.initialize) return NPERR_INVALID_FUNCTABLE_ERROR;
  const NPError given = entries.getEntryPoints(plugin);
  return given == NPERR_NO_ERROR ? Initialize(entries.initialize, host, plugin) : given;
}

}  // namespace NpHost
