/// The talk with the browser about one document, from the first message to the end of the pipe.
#pragma once

#include <chrono>
#include <filesystem>

#include "bridge/host/native_stream.h"

namespace Bridge {

/// How long the module and its libraries may take to end after the browser has gone.
inline constexpr std::chrono::seconds kEndTime{10};

/// Serves the document; gives the program's exit status: 0 when the browser has ended the talk, 1 when it broke the
/// protocol. The calling thread is the module's browser thread. What hangs for longer than `endTime` after the talk
/// ends the process.
int ServeDocument(NativePipes pipes, const std::filesystem::path& module, std::chrono::milliseconds endTime = kEndTime);

}  // namespace Bridge
