#pragma once

#include <string>
#include <string_view>

namespace KsvDisplay {

/// False for control characters, for characters without width, and for those that change the direction of others.
bool IsVisible(char32_t code);

/// A text that is safe to print on a terminal: backslashes are doubled, invisible characters become `\u{1b}`. A text
/// that is not well-formed UTF-8 becomes one U+FFFD.
std::string Printable(std::string_view text);

}  // namespace KsvDisplay
