#pragma once

#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>
#include <system_error>

namespace NorvoWebAPI {

/// The decimal number at the start of a text, behind white space and a sign if there are any; the rest is ignored.
/// Nothing for a text without digits there, or for a number out of range. The host's locale doesn't matter.
template <typename Number>
std::optional<Number> ReadDecimal(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size()));
  if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
  Number number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() ? std::optional(number) : std::nullopt;
}

}  // namespace NorvoWebAPI
