#include "display/wys_point.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace NorvoWebAPI::KSV {

bool ParsePoint(const char* text, WysPoint* out) {
  if (!text) return false;
  const char* const brace = std::strchr(text, '{');
  const char* const comma = std::strchr(text, ',');
  if (!brace || !comma || !std::strchr(comma, '}')) return false;
  constexpr std::string_view kSeparators = "{,}";
  const auto separators = std::ranges::count_if(
      std::string_view(text), [&](char character) { return kSeparators.find(character) != std::string_view::npos; });
  if (separators > 3) return false;
  out->x = static_cast<uint16_t>(std::strtol(brace + 1, nullptr, 10));
  out->y = static_cast<uint16_t>(std::strtol(comma + 1, nullptr, 10));
  return true;
}

}  // namespace NorvoWebAPI::KSV
