#pragma once

#include "kit/shared/bytes.h"

namespace KsvDisplay {

/// Whether a reader sees the character as what it is: not a control, nor one without width, nor one that turns the
/// direction of others.
bool IsVisible(char32_t code);

/// A text for a terminal: backslashes doubled, and what is not visible as `\u{1b}`. A text that is no well-formed UTF-8
/// becomes one replacement character.
KsvKit::SecretBytes Printable(std::string_view text);

}  // namespace KsvDisplay
