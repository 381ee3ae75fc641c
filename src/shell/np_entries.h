/// The module's side of the host's tables, and the state that all instances share. The browser's thread only.
#pragma once

#include "npapi/npfunctions.h"

namespace NorvoWebAPI::KSV {

/// The plug-in's entries, as they are copied out to the host: each finds its instance's `Plugin`, calls the operation
/// of its name and lets no exception out.
const NPPluginFuncs& PluginFuncs();

/// Copies the plug-in's table over the host's, whose `size` tells its room.
NPError CopyPluginFuncs(NPPluginFuncs* pFuncs);

/// Takes a copy of the host's table, whose `size` and `version` are tested first. From here on instances can be made.
NPError TakeHostFuncs(const NPNetscapeFuncs* nFuncs);

}  // namespace NorvoWebAPI::KSV
