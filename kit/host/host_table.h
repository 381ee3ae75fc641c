/// The host's side of the plug-in interface.
#pragma once

#include "npapi/npfunctions.h"

namespace Kit {

/// The table for `NP_Initialize`. What the host does not do has no entry, but for `NPN_GetURLNotify`, which refuses.
NPNetscapeFuncs& HostTable();

}  // namespace Kit
