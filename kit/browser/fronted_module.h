/// What a module that stands in front of another one shares: `fronted_module.cpp` finds the other one and forwards the
/// entries that nobody bends. The macro KSV_FRONTED names the environment variable that holds its path.
#pragma once

#include "npapi/npfunctions.h"

#define KSV_EXPORT extern "C" __attribute__((visibility("default")))

namespace Kit {

/// Initialises the module behind and fills `plugin` with its entries.
NPError InitializeFronted(NPNetscapeFuncs* host, NPPluginFuncs* plugin);

}  // namespace Kit
