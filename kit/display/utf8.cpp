#include "kit/display/utf8.h"

#include <algorithm>
#include <bit>
#include <charconv>

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

bool IsScalar(char32_t code) {
  return code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF);
}

void AppendUtf8(KsvKit::SecretBytes& out, char32_t code) {
  if (code < 0x80) {
    out.push_back(static_cast<uint8_t>(code));
    return;
  }
  const int followers = code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
  out.push_back(static_cast<uint8_t>(0xFF00 >> (followers + 1) | code >> (6 * followers)));
  for (int shift = 6 * (followers - 1); shift >= 0; shift -= 6) {
    out.push_back(static_cast<uint8_t>(0x80 | (code >> shift & 0x3F)));
  }
}

}  // namespace

std::optional<std::u32string> DecodeUtf8(std::string_view text) {
  constexpr char32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
  std::u32string result;
  while (!text.empty()) {
    const auto lead = static_cast<uint8_t>(text.front());
    const auto length = static_cast<size_t>(lead < 0x80 ? 1 : std::countl_one(lead));
    if (length > 4 || length > text.size() || (lead >= 0x80 && length < 2)) return std::nullopt;
    char32_t code = length == 1 ? lead : lead & (0x7FU >> length);
    for (size_t i = 1; i < length; ++i) {
      const auto next = static_cast<uint8_t>(text[i]);
      if ((next & 0xC0) != 0x80) return std::nullopt;
      code = code << 6 | (next & 0x3F);
    }
    if (code < kSmallest[length] || !IsScalar(code)) return std::nullopt;
    result.push_back(code);
    text.remove_prefix(length);
  }
  return result;
}

bool IsVisible(char32_t code) {
  return std::ranges::none_of(kInvisible,
                              [code](const Range& range) { return range.first <= code && code <= range.last; });
}

KsvKit::SecretBytes Printable(std::string_view text) {
  KsvKit::SecretBytes result;
  for (const char32_t code : DecodeUtf8(text).value_or(U"\uFFFD")) {
    if (code == U'\\') {
      KsvKit::Append(result, KsvKit::AsBytes("\\\\"));
    } else if (IsVisible(code)) {
      AppendUtf8(result, code);
    } else {
      char hex[8];
      const char* const end = std::to_chars(std::begin(hex), std::end(hex), static_cast<uint32_t>(code), 16).ptr;
      KsvKit::Append(result, KsvKit::AsBytes("\\u{"));
      KsvKit::Append(result, KsvKit::AsBytes({hex, end}));
      result.push_back('}');
    }
  }
  return result;
}

std::optional<EncodedText> EncodeUtf8(const KsvKit::WideChar* text, size_t limit) {
  EncodedText result;
  for (size_t i = 0; i < limit && text[i] != 0; ++i) {
    char32_t code = static_cast<char16_t>(text[i]);
    if (code >= 0xD800 && code <= 0xDBFF && i + 1 < limit) {
      const auto low = static_cast<char16_t>(text[i + 1]);
      if (low >= 0xDC00 && low <= 0xDFFF) {
        code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
        ++i;
      }
    }
    if (!IsScalar(code)) return std::nullopt;
    AppendUtf8(result.utf8, code);
    ++result.characters;
  }
  return result;
}

}  // namespace KsvDisplay
