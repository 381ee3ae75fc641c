#pragma once

#include "npapi/npfunctions.h"

namespace NpHost {

/// The host functions as the plug-in calls them. They serve the host that lives and let no exception out.
struct HostTable {
  static void Fill(NPNetscapeFuncs& funcs);
};

}  // namespace NpHost
