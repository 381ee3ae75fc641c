#include "display/wys_point.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string_view>

namespace NorvoWebAPI::KSV {
namespace {

// Clamped to 32 bits: `long` has 64 bits on Linux, and the result must be the same as on 32-bit Windows.
uint16_t ReadNumber(const char* text) {
  constexpr long kLowest = std::numeric_limits<int32_t>::min();
  constexpr long kHighest = std::numeric_limits<int32_t>::max();
  return static_cast<uint16_t>(std::clamp(std::strtol(text, nullptr, 10), kLowest, kHighest));
}

}  // namespace

bool ParsePoint(const char* text, WysPoint* out) {
  if (!text) return false;
  const char* const brace = std::strchr(text, '{');
  const char* const comma = std::strchr(text, ',');
  if (!brace || !comma || !std::strchr(comma, '}')) return false;
  constexpr std::string_view kSeparators = "{,}";
  const auto separators = std::ranges::count_if(
      std::string_view(text), [&](char character) { return kSeparators.find(character) != std::string_view::npos; });
  if (separators > 3) return false;
  out->x = ReadNumber(brace + 1);
  out->y = ReadNumber(comma + 1);
  return true;
}

}  // namespace NorvoWebAPI::KSV
