#include "installer/doctor/texts.h"

#include <algorithm>

#include "base/text.h"

namespace NorvoWebAPI::KSV::Doctor {

std::string Narrow(const WCHAR* text) {
  const Bstr copy(SysAllocString(text));
  return NarrowFromBstr(copy.Get()).value_or("");
}

std::string ToUtf8(const std::string& narrow) {
  const Bstr wide = BstrFromNarrow(narrow.c_str());
  const int size = WideCharToMultiByte(CP_UTF8, 0, wide.Get(), -1, nullptr, 0, nullptr, nullptr);
  std::string utf8(static_cast<size_t>(std::max(size, 1)), '\0');
  WideCharToMultiByte(CP_UTF8, 0, wide.Get(), -1, utf8.data(), size, nullptr, nullptr);
  utf8.pop_back();
  return utf8;
}

std::basic_string<WCHAR> WideFromUtf8(const std::string& utf8) {
  const int size = MultiByteToWideChar(CP_UTF8, 0, utf8.c_str(), -1, nullptr, 0);
  std::basic_string<WCHAR> wide(static_cast<size_t>(std::max(size, 1)), WCHAR{0});
  MultiByteToWideChar(CP_UTF8, 0, utf8.c_str(), -1, wide.data(), size);
  wide.pop_back();
  return wide;
}

std::string NarrowFromUtf8(const std::string& utf8) {
  return Narrow(WideFromUtf8(utf8).c_str());
}

std::string Printable(const std::string& narrow) {
  std::string safe;
  for (const char c : narrow) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= ' ' && byte != 0x7F) {
      safe += c;
    } else {
      constexpr char kDigits[] = "0123456789ABCDEF";
      safe += {'\\', 'x', kDigits[byte >> 4], kDigits[byte & 15]};
    }
  }
  return ToUtf8(safe);
}

}  // namespace NorvoWebAPI::KSV::Doctor
