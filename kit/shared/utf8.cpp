#include "kit/shared/utf8.h"

#include <bit>

namespace KsvKit {
namespace {

bool IsScalar(char32_t code) {
  return code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF);
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

void AppendUtf8(SecretBytes& out, char32_t code) {
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

std::optional<EncodedText> EncodeUtf8(const WideChar* text, size_t limit) {
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

}  // namespace KsvKit
