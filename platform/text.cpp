#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/internal.h"

namespace platform {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

struct Step {
  char32_t codePoint;
  size_t length;
};

// The first code point of a text that is not empty. An invalid sequence ends at its first wrong byte, so the next
// character is not lost.
Step NextCodePoint(std::string_view text) {
  const unsigned lead = static_cast<unsigned char>(text[0]);
  if (lead < 0x80) return {lead, 1};
  const size_t length = lead >= 0xC2 && lead <= 0xDF   ? 2
                        : lead >= 0xE0 && lead <= 0xEF ? 3
                        : lead >= 0xF0 && lead <= 0xF4 ? 4
                                                       : 0;
  if (length == 0) return {kReplacement, 1};
  // After four lead bytes the second byte has a smaller range: no overlong form, no surrogate, nothing above U+10FFFF.
  unsigned low = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
  unsigned high = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
  char32_t codePoint = lead & (0x7Fu >> length);
  for (size_t index = 1; index < length; ++index) {
    const unsigned byte = index < text.size() ? static_cast<unsigned char>(text[index]) : 0;
    if (byte < low || byte > high) return {kReplacement, index};
    codePoint = codePoint << 6 | (byte & 0x3F);
    low = 0x80;
    high = 0xBF;
  }
  return {codePoint, length};
}

Step NextCodePoint(std::u16string_view text, bool* valid) {
  const char32_t unit = text[0];
  if (unit < 0xD800 || unit > 0xDFFF) return {unit, 1};
  if (unit < 0xDC00 && text.size() > 1 && text[1] >= 0xDC00 && text[1] <= 0xDFFF) {
    return {0x10000 + ((unit - 0xD800) << 10) + (text[1] - 0xDC00u), 2};
  }
  *valid = false;
  return {kReplacement, 1};
}

void AppendUtf8(std::string& out, char32_t codePoint) {
  const auto append = [&out](char32_t byte) { out.push_back(static_cast<char>(byte)); };
  if (codePoint < 0x80) return append(codePoint);
  if (codePoint < 0x800) {
    append(0xC0 | codePoint >> 6);
  } else {
    if (codePoint < 0x10000) {
      append(0xE0 | codePoint >> 12);
    } else {
      append(0xF0 | codePoint >> 18);
      append(0x80 | (codePoint >> 12 & 0x3F));
    }
    append(0x80 | (codePoint >> 6 & 0x3F));
  }
  append(0x80 | (codePoint & 0x3F));
}

// Both directions: a length below 0 means a terminated text, whose terminator is converted too; a size of 0 asks for
// the size needed.
template <class From, class To, class Convert>
int ConvertText(UINT codePage, DWORD flags, const From* from, int length, To* to, int size, Convert convert) {
  if ((codePage != CP_ACP && codePage != CP_UTF8) || !from || length == 0 || size < 0 || (!to && size > 0)) {
    return Fail(ERROR_INVALID_PARAMETER, 0);
  }
  if (flags != 0) return Fail(ERROR_CALL_NOT_IMPLEMENTED, 0);
  const size_t count = length < 0 ? std::char_traits<From>::length(from) + 1 : static_cast<size_t>(length);
  const auto converted = convert(std::basic_string_view<From>(from, count));
  if (converted.size() > INT_MAX) return Fail(ERROR_INVALID_PARAMETER, 0);
  if (size == 0) return static_cast<int>(converted.size());
  if (converted.size() > static_cast<size_t>(size)) return Fail(ERROR_INSUFFICIENT_BUFFER, 0);
  std::copy(converted.begin(), converted.end(), to);
  return static_cast<int>(converted.size());
}

// The four bytes before a text hold its length in bytes. The block begins four bytes earlier, which keeps the text
// aligned.
constexpr size_t kBstrHead = 8;

}  // namespace

std::u16string Widen(std::string_view narrow) {
  std::u16string wide;
  wide.reserve(narrow.size());
  while (!narrow.empty()) {
    const Step step = NextCodePoint(narrow);
    narrow.remove_prefix(step.length);
    if (step.codePoint < 0x10000) {
      wide.push_back(static_cast<char16_t>(step.codePoint));
    } else {
      wide.push_back(static_cast<char16_t>(0xD800 + ((step.codePoint - 0x10000) >> 10)));
      wide.push_back(static_cast<char16_t>(0xDC00 + (step.codePoint & 0x3FF)));
    }
  }
  return wide;
}

std::string Narrow(std::u16string_view wide, bool* valid) {
  bool unused = true;
  if (!valid) valid = &unused;
  *valid = true;
  std::string narrow;
  narrow.reserve(wide.size());
  while (!wide.empty()) {
    const Step step = NextCodePoint(wide, valid);
    wide.remove_prefix(step.length);
    AppendUtf8(narrow, step.codePoint);
  }
  return narrow;
}

bool EqualIgnoringCase(std::string_view left, std::string_view right) {
  const auto fold = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; };
  if (left.size() != right.size()) return false;
  for (size_t index = 0; index < left.size(); ++index) {
    if (fold(left[index]) != fold(right[index])) return false;
  }
  return true;
}

}  // namespace platform

using platform::Fail;
using platform::InjectedError;

int WideCharToMultiByte(UINT codePage, DWORD flags, LPCWSTR wide, int wideLength, LPSTR narrow, int narrowSize,
                        LPCSTR defaultChar, BOOL* usedDefaultChar) {
  if (InjectedError("WideCharToMultiByte")) return 0;
  // UTF-8 has a form of every character; the published call refuses both as well.
  if (defaultChar || usedDefaultChar) return Fail(ERROR_INVALID_PARAMETER, 0);
  return platform::ConvertText(codePage, flags, wide, wideLength, narrow, narrowSize,
                               [](std::u16string_view text) { return platform::Narrow(text); });
}

int MultiByteToWideChar(UINT codePage, DWORD flags, LPCSTR narrow, int narrowLength, LPWSTR wide, int wideSize) {
  if (InjectedError("MultiByteToWideChar")) return 0;
  return platform::ConvertText(codePage, flags, narrow, narrowLength, wide, wideSize,
                               [](std::string_view text) { return platform::Widen(text); });
}

errno_t wcstombs_s(size_t* converted, char* narrow, size_t size, const WCHAR* wide, size_t count) {
  if (converted) *converted = 0;
  if (!narrow || size == 0 || !wide || count != _TRUNCATE) return EINVAL;
  narrow[0] = '\0';
  if (InjectedError("wcstombs_s")) return EILSEQ;
  bool valid = true;
  const std::string text = platform::Narrow(wide, &valid);
  if (!valid) return EILSEQ;
  size_t length = std::min(text.size(), size - 1);
  // Does not cut a character in half.
  while (length < text.size() && length > 0 && (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80) --length;
  std::memcpy(narrow, text.data(), length);
  narrow[length] = '\0';
  if (converted) *converted = length + 1;
  return length < text.size() ? STRUNCATE : 0;
}

BSTR SysAllocStringLen(const OLECHAR* text, UINT length) {
  // The length in bytes has to fit the 32 bits before the text.
  if (InjectedError("SysAllocString") || length > (UINT_MAX - 6) / sizeof(OLECHAR)) return nullptr;
  const uint32_t bytes = length * static_cast<uint32_t>(sizeof(OLECHAR));
  auto* block = static_cast<unsigned char*>(std::malloc(platform::kBstrHead + bytes + sizeof(OLECHAR)));
  if (!block) return nullptr;
  std::memcpy(block + platform::kBstrHead - sizeof(bytes), &bytes, sizeof(bytes));
  auto* result = reinterpret_cast<OLECHAR*>(block + platform::kBstrHead);
  if (text) std::memcpy(result, text, bytes);
  result[length] = 0;
  return result;
}

BSTR SysAllocString(const OLECHAR* text) {
  if (!text) return nullptr;
  const size_t length = std::char_traits<OLECHAR>::length(text);
  return length > UINT_MAX ? nullptr : SysAllocStringLen(text, static_cast<UINT>(length));
}

void SysFreeString(BSTR text) {
  if (text) std::free(reinterpret_cast<unsigned char*>(text) - platform::kBstrHead);
}

UINT SysStringLen(BSTR text) {
  uint32_t bytes = 0;
  if (text) std::memcpy(&bytes, reinterpret_cast<unsigned char*>(text) - sizeof(bytes), sizeof(bytes));
  return bytes / sizeof(OLECHAR);
}
