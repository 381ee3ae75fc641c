#pragma once

namespace NorvoWebAPI {

/// Writes one line, "[thread] [tag] message", to the system's debug output if `enabled`; else does nothing.
/// A line has at most 2,048 bytes with its terminator: a longer message is cut. The caller's format ends in its own
/// newline. Any thread; allocates nothing.
void DebugLog(bool enabled, const char* tag, const char* format, ...) __attribute__((__format__(__printf__, 3, 4)));

}  // namespace NorvoWebAPI
