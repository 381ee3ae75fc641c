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
  const auto isControl = [](WCHAR unit) { return unit < 0x20 || (unit >= 0x7F && unit < 0xA0); };
  const std::optional<KsvKit::WideText> wide = KsvKit::WideFromUtf8(text);
  return wide && std::ranges::none_of(*wide, isControl);
}

bool EqualsIgnoringCase(std::string_view left, std::string_view right) {
  return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                    [](char a, char b) { return Lower(a) == Lower(b); });
}

std::optional<uint64_t> ParseNumber(std::string_view text) {
  uint64_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

}  // namespace KsvAgent
