#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace KsvKit {

/// Lower-case hexadecimal digits.
inline std::string Hex(std::string_view bytes) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string text;
  for (const char byte : bytes) {
    text += kDigits[static_cast<uint8_t>(byte) >> 4];
    text += kDigits[static_cast<uint8_t>(byte) & 0x0F];
  }
  return text;
}

}  // namespace KsvKit
