#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace KsvAgent {

/// Whether the text is well-formed UTF-8 without control characters.
bool IsPlainText(std::string_view text);

/// Whether both texts are equal but for the case of ASCII letters.
bool EqualsIgnoringCase(std::string_view left, std::string_view right);

/// The number in a text of decimal digits; nothing for any other text.
std::optional<uint64_t> ParseNumber(std::string_view text);

}  // namespace KsvAgent
