#include "kit/nphost/module.h"

namespace NpHost {

NPError Initialize(InitializeEntry initialize, NPNetscapeFuncs* host, NPPluginFuncs* plugin) {
  return initialize(host, plugin);
}

NPError StartModule(const ModuleEntries& entries, NPNetscapeFuncs* host, NPPluginFuncs* plugin) {
  return entries.initialize ? Initialize(entries.initialize, host, plugin) : NPError{NPERR_INVALID_FUNCTABLE_ERROR};
}

}  // namespace NpHost
