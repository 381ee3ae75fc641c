/// The talk with the browser about one document, from the first message to the end of the pipe.
#pragma once

#include <filesystem>

#include "bridge/host/native_stream.h"

namespace Bridge {

/// Serves the document; gives the program's exit status: 0 when the browser ended the talk, 1 when it broke the
/// protocol. The calling thread is the module's browser thread.
int ServeDocument(NativePipes pipes, const std::filesystem::path& module);

}  // namespace Bridge
