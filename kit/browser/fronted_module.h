/// For modules that wrap another one: `fronted_module.cpp` loads the other one and forwards the entries that are not
/// overridden. The macro KSV_FRONTED is the name of the environment variable with its path.
#pragma once

#include "npapi/npfunctions.h"

#define KSV_EXPORT extern "C" __attribute__((visibility("default")))

namespace Kit {

/// Initialises the wrapped module and fills `plugin` with its entries.
NPError InitializeFronted(NPNetscapeFuncs* host, NPPluginFuncs* plugin);

}  // namespace Kit
