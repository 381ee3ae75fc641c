#include "kit/agent/text.h"

#include <algorithm>
#include <charconv>

#include "kit/shared/utf8.h"

namespace KsvAgent {
namespace {

char Lower(char character) {
  return character >= 'A' && character <= 'Z' ? static_cast<char>(character + ('a' - 'A')) : character;
}

}  // namespace

bool IsPlainText(std::string_view text) {
  const std::optional<std::u32string> characters = KsvKit::DecodeUtf8(text);
  return characters &&
         std::ranges::none_of(*characters, [](char32_t code) { return code < 0x20 || (code >= 0x7F && code < 0xA0); });
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
