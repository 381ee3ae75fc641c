#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace KsvAgent {

/// Whether the text is well-formed UTF-8 and holds no control characters.
bool IsPlainText(std::string_view text);

/// Whether both texts are equal but for the case of ASCII letters.
bool EqualsIgnoringCase(std::string_view left, std::string_view right);

/// The number that a text of decimal digits alone holds; nothing for any other text and for one beyond `limit`.
std::optional<uint64_t> ParseNumber(std::string_view text, uint64_t limit);

}  // namespace KsvAgent
