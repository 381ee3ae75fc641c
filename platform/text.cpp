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
  bool valid = true;
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
  if (length == 0) return {kReplacement, 1, false};
  // After four lead bytes the second byte has a smaller range: no overlong form, no surrogate, nothing above U+10FFFF.
  unsigned low = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
  unsigned high = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
  char32_t codePoint = lead & (0x7Fu >> length);
  for (size_t index = 1; index < length; ++index) {
    const unsigned byte = index < text.size() ? static_cast<unsigned char>(text[index]) : 0;
    if (byte < low || byte > high) return {kReplacement, index, false};
    codePoint = codePoint << 6 | (byte & 0x3F);
    low = 0x80;
    high = 0xBF;
  }
  return {codePoint, length};
}

Step NextCodePoint(std::u16string_view text) {
  const char32_t unit = text[0];
  if (unit < 0xD800 || unit > 0xDFFF) return {unit, 1};
  if (unit < 0xDC00 && text.size() > 1 && text[1] >= 0xDC00 && text[1] <= 0xDFFF) {
    return {0x10000 + ((unit - 0xD800) << 10) + (text[1] - 0xDC00u), 2};
  }
  return {kReplacement, 1, false};
}

template <class Emit>
void EmitWide(char32_t codePoint, Emit emit) {
  if (codePoint < 0x10000) return emit(static_cast<char16_t>(codePoint));
  emit(static_cast<char16_t>(0xD800 + ((codePoint - 0x10000) >> 10)));
  emit(static_cast<char16_t>(0xDC00 + (codePoint & 0x3FF)));
}

template <class Emit>
void EmitUtf8(char32_t codePoint, Emit emitByte) {
  const auto emit = [&emitByte](char32_t byte) { emitByte(static_cast<char>(byte)); };
  if (codePoint < 0x80) return emit(codePoint);
  if (codePoint < 0x800) {
    emit(0xC0 | codePoint >> 6);
  } else {
    if (codePoint < 0x10000) {
      emit(0xE0 | codePoint >> 12);
    } else {
      emit(0xF0 | codePoint >> 18);
      emit(0x80 | (codePoint >> 12 & 0x3F));
    }
    emit(0x80 | (codePoint >> 6 & 0x3F));
  }
  emit(0x80 | (codePoint & 0x3F));
}

// Calls `emit` with each unit of the converted text. False when the text was not well-formed.
template <class From, class Emit>
bool Convert(std::basic_string_view<From> text, Emit emit) {
  bool valid = true;
  while (!text.empty()) {
    const Step step = NextCodePoint(text);
    text.remove_prefix(step.length);
    valid = valid && step.valid;
    if constexpr (sizeof(From) == 1) {
      EmitWide(step.codePoint, emit);
    } else {
      EmitUtf8(step.codePoint, emit);
    }
  }
  return valid;
}

// Both directions: a length below 0 means a terminated text, whose terminator is converted too; a size of 0 asks for
// the size needed. The flag `refuseIllFormed` is the only one there is.
template <class From, class To>
int ConvertText(UINT codePage, DWORD flags, DWORD refuseIllFormed, const From* from, int length, To* to, int size) {
  if ((codePage != CP_ACP && codePage != CP_UTF8) || !from || length == 0 || size < 0 || (!to && size > 0)) {
    return Fail(ERROR_INVALID_PARAMETER, 0);
  }
  if (flags != 0 && flags != refuseIllFormed) return Fail(ERROR_CALL_NOT_IMPLEMENTED, 0);
  const size_t count = length < 0 ? std::char_traits<From>::length(from) + 1 : static_cast<size_t>(length);
  const auto room = static_cast<size_t>(size);
  size_t converted = 0;
  // Straight into the caller's memory: the text may be a secret, so there is no copy of it here.
  const bool valid = Convert(std::basic_string_view<From>(from, count), [&](To unit) {
    if (converted < room) to[converted] = unit;
    ++converted;
  });
  if (!valid && flags != 0) return Fail(ERROR_NO_UNICODE_TRANSLATION, 0);
  if (converted > INT_MAX) return Fail(ERROR_INVALID_PARAMETER, 0);
  if (room > 0 && converted > room) return Fail(ERROR_INSUFFICIENT_BUFFER, 0);
  return static_cast<int>(converted);
}

// The four bytes before a text hold its length in bytes. The block begins four bytes earlier, which keeps the text
// aligned.
constexpr size_t kBstrHead = 8;

}  // namespace

std::u16string Widen(std::string_view narrow) {
  std::u16string wide;
  wide.reserve(narrow.size());
  Convert(narrow, [&wide](char16_t unit) { wide.push_back(unit); });
  return wide;
}

std::string Narrow(std::u16string_view wide, bool* valid) {
  std::string narrow;
  narrow.reserve(wide.size());
  const bool isValid = Convert(wide, [&narrow](char byte) { narrow.push_back(byte); });
  if (valid) *valid = isValid;
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
  // The published call has the flag for UTF-8 alone.
  const DWORD refuseIllFormed = codePage == CP_UTF8 ? WC_ERR_INVALID_CHARS : 0;
  return platform::ConvertText(codePage, flags, refuseIllFormed, wide, wideLength, narrow, narrowSize);
}

int MultiByteToWideChar(UINT codePage, DWORD flags, LPCSTR narrow, int narrowLength, LPWSTR wide, int wideSize) {
  if (InjectedError("MultiByteToWideChar")) return 0;
  return platform::ConvertText(codePage, flags, MB_ERR_INVALID_CHARS, narrow, narrowLength, wide, wideSize);
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
