#include "kit/agent/text.h"

#include <algorithm>
#include <charconv>
#include <cstdint>

namespace KsvAgent {
namespace {

char Lower(char character) {
  return character >= 'A' && character <= 'Z' ? static_cast<char>(character + ('a' - 'A')) : character;
}

}  // namespace

bool IsPlainText(std::string_view text) {
  for (size_t position = 0; position < text.size();) {
    const auto lead = static_cast<uint8_t>(text[position++]);
    if (lead < 0x80) {
      if (lead < 0x20 || lead == 0x7F) return false;
      continue;
    }
    const int followers = lead >= 0xC2 && lead <= 0xDF   ? 1
                          : (lead & 0xF0) == 0xE0        ? 2
                          : lead >= 0xF0 && lead <= 0xF4 ? 3
                                                         : 0;
    if (followers == 0) return false;
    uint32_t code = lead & (0x3Fu >> followers);
    for (int i = 0; i < followers; ++i) {
      if (position == text.size()) return false;
      const auto next = static_cast<uint8_t>(text[position++]);
      if ((next & 0xC0) != 0x80) return false;
      code = code << 6 | (next & 0x3F);
    }
    const uint32_t smallest = followers == 1 ? 0xA0 : followers == 2 ? 0x800 : 0x10000;
    if (code < smallest || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) return false;
  }
  return true;
}

bool EqualsIgnoringCase(std::string_view left, std::string_view right) {
  return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                    [](char a, char b) { return Lower(a) == Lower(b); });
}

std::optional<uint64_t> ParseNumber(std::string_view text, uint64_t limit) {
  uint64_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (text.empty() || error != std::errc() || end != text.data() + text.size() || value > limit) return std::nullopt;
  return value;
}

}  // namespace KsvAgent
