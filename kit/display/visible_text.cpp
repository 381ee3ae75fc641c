#include "kit/display/visible_text.h"

#include <algorithm>
#include <charconv>
#include <iterator>

#include "kit/shared/utf8.h"

namespace KsvDisplay {
namespace {

struct Range {
  char32_t first;
  char32_t last;
};
constexpr Range kInvisible[] = {
    {0x00, 0x1F},     {0x7F, 0x9F},     {0xAD, 0xAD},     {0x034F, 0x034F}, {0x061C, 0x061C},   {0x115F, 0x1160},
    {0x17B4, 0x17B5}, {0x180B, 0x180F}, {0x200B, 0x200F}, {0x2028, 0x202E}, {0x2060, 0x206F},   {0x3164, 0x3164},
    {0xFE00, 0xFE0F}, {0xFEFF, 0xFEFF}, {0xFFA0, 0xFFA0}, {0xFFF0, 0xFFFB}, {0xE0000, 0xE0FFF},
};

}  // namespace

bool IsVisible(char32_t code) {
  return std::ranges::none_of(kInvisible,
                              [code](const Range& range) { return range.first <= code && code <= range.last; });
}

std::string Printable(std::string_view text) {
  const std::optional<std::u32string> codePoints = KsvKit::CodePointsOf(text);
  if (!codePoints) return "\uFFFD";
  const auto isContinuation = [](char byte) { return (byte & 0xC0) == 0x80; };
  std::string result;
  auto begin = text.begin();
  for (const char32_t code : *codePoints) {
    const auto end = std::find_if_not(begin + 1, text.end(), isContinuation);
    if (code == U'\\') {
      result += "\\\\";
    } else if (IsVisible(code)) {
      result.append(begin, end);
    } else {
      char hex[8];
      result.append("\\u{").append(hex, std::to_chars(hex, std::end(hex), static_cast<uint32_t>(code), 16).ptr) += '}';
    }
    begin = end;
  }
  return result;
}

}  // namespace KsvDisplay
