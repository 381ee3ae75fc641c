#include "kit/shared/utf8.h"

#include <climits>

#include "platform/win32.h"

namespace KsvKit {
namespace {

/// Asks `convert(to, size)` for the size first. The system takes no empty text, and fails for an ill-formed one.
template <class Container, class Convert>
std::optional<Container> Converted(size_t length, Convert convert) {
  Container result;
  if (length == 0) return result;
  if (length > INT_MAX) return std::nullopt;
  const int size = convert(nullptr, 0);
  if (size <= 0) return std::nullopt;
  result.resize(static_cast<size_t>(size));
  if (convert(result.data(), size) != size) return std::nullopt;
  return result;
}

}  // namespace

std::optional<WideText> WideFromUtf8(std::string_view text) {
  return Converted<WideText>(text.size(), [text](WCHAR* to, int size) {
    return MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(), static_cast<int>(text.size()), to, size);
  });
}

std::optional<SecretBytes> Utf8FromWide(WideView text) {
  return Converted<SecretBytes>(text.size(), [text](uint8_t* to, int size) {
    return WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, text.data(), static_cast<int>(text.size()),
                               reinterpret_cast<char*>(to), size, nullptr, nullptr);
  });
}

std::optional<std::u32string> CodePointsOf(std::string_view text) {
  const std::optional<WideText> wide = WideFromUtf8(text);
  if (!wide) return std::nullopt;
  std::u32string result;
  for (auto unit = wide->begin(); unit != wide->end(); ++unit) {
    char32_t code = static_cast<char16_t>(*unit);
    // What the conversion gives is well-formed: a low surrogate follows each high one.
    if (code >= 0xD800 && code <= 0xDBFF) {
      code = 0x10000 + ((code - 0xD800) << 10) + (static_cast<char16_t>(*++unit) - 0xDC00u);
    }
    result.push_back(code);
  }
  return result;
}

}  // namespace KsvKit
