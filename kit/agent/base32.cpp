#include "kit/agent/base32.h"

namespace KsvAgent {
namespace {

int ValueOf(uint8_t character) {
  if (character >= 'A' && character <= 'Z') return character - 'A';
  if (character >= 'a' && character <= 'z') return character - 'a';
  if (character >= '2' && character <= '7') return character - '2' + 26;
  return -1;
}

}  // namespace

std::optional<SecretBytes> DecodeBase32(ByteView text) {
  size_t padding = 0;
  while (!text.empty() && text.back() == '=') {
    text = text.first(text.size() - 1);
    ++padding;
  }
  const size_t tail = text.size() % 8;
  const bool paddingFits = padding == 0 || (padding < 8 && (tail + padding) % 8 == 0);
  if (tail == 1 || tail == 3 || tail == 6 || !paddingFits) return std::nullopt;

  SecretBytes out;
  out.reserve(text.size() * 5 / 8);
  uint32_t pending = 0;
  unsigned pendingBits = 0;
  for (const uint8_t character : text) {
    const int value = ValueOf(character);
    if (value < 0) return std::nullopt;
    pending = (pending << 5 | static_cast<uint32_t>(value)) & 0xFFF;
    pendingBits += 5;
    if (pendingBits >= 8) {
      pendingBits -= 8;
      out.push_back(static_cast<uint8_t>(pending >> pendingBits));
    }
  }
  return out;
}

}  // namespace KsvAgent
