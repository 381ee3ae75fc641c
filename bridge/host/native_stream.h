/// The browser's pipes: each message has its length before it, 4 bytes in the machine's order.
#pragma once

#include <cstdio>
#include <memory>
#include <optional>
#include <string>

namespace Bridge {

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

struct NativePipes {
  File input;
  File output;
};

/// Gives nothing at the end of the input. Throws `ProtocolError` for a message that is cut off or too long.
std::optional<std::string> ReadNativeMessage(std::FILE* input);

/// Gives false when the browser has closed the pipe.
bool WriteNativeMessage(std::FILE* output, const std::string& text);

}  // namespace Bridge
