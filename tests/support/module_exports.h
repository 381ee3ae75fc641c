#pragma once

#include "shell/exports.h"

namespace support {

using InitializeEntry = decltype(&NP_Initialize);

/// `NP_Initialize` as a browser of this system calls it, by the program's own entry or a loaded module's.
NPError InitializeModule(NPNetscapeFuncs* host, InitializeEntry entry = &NP_Initialize);

}  // namespace support
