#pragma once

#include "kit/nphost/module.h"

namespace support {

using NpHost::InitializeEntry;

/// `NP_Initialize` as a browser of this system calls it, by the program's own entry or a loaded module's.
inline NPError InitializeModule(NPNetscapeFuncs* host, InitializeEntry entry = &NP_Initialize) {
  NPPluginFuncs plugin{};
  plugin.size = sizeof plugin;
  return NpHost::Initialize(entry, host, &plugin);
}

}  // namespace support
