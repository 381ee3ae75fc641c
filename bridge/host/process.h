/// What the program takes over from the system at its start, and how it ends. Each system has its own way.
#pragma once

#include "bridge/host/native_stream.h"

namespace Bridge {

/// Takes the browser's two pipes from standard input and output, once, at the start. From then on what the module and
/// the libraries print goes to standard error, because a line of theirs among the messages would end the connection;
/// they read an empty input; and programs that they start don't hold the pipes. Throws `std::runtime_error`.
NativePipes TakePipes();

/// Ends the process at once. Nothing of the libraries' runs any more, which might not return.
[[noreturn]] void EndProcess(int status);

}  // namespace Bridge
