#include "bridge/host/native_stream.h"

#include <array>
#include <cstdint>
#include <cstring>

#include "bridge/host/protocol.h"

namespace Bridge {

std::optional<std::string> ReadNativeMessage(std::FILE* input) {
  std::array<char, sizeof(uint32_t)> bytes;
  const size_t got = std::fread(bytes.data(), 1, bytes.size(), input);
  if (got == 0) return std::nullopt;
  uint32_t length = 0;
  std::memcpy(&length, bytes.data(), bytes.size());
  if (got < bytes.size()) throw ProtocolError("the input ends inside a message");
  if (length > kMaxMessage) throw ProtocolError("a message is too long");
  std::string text;
  // Memory is taken as the bytes come, not as the length claims.
  constexpr size_t kStep = size_t{1} << 20;
  while (text.size() < length) {
    const size_t start = text.size();
    text.resize(std::min<size_t>(length, start + kStep));
    if (std::fread(text.data() + start, 1, text.size() - start, input) != text.size() - start) {
      throw ProtocolError("the input ends inside a message");
    }
  }
  return text;
}

bool WriteNativeMessage(std::FILE* output, const std::string& text) {
  std::array<char, sizeof(uint32_t)> bytes;
  const auto length = static_cast<uint32_t>(text.size());
  std::memcpy(bytes.data(), &length, bytes.size());
  return std::fwrite(bytes.data(), 1, bytes.size(), output) == bytes.size() &&
         std::fwrite(text.data(), 1, text.size(), output) == text.size() && std::fflush(output) == 0;
}

}  // namespace Bridge
