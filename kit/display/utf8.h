#pragma once

#include <optional>
#include <string>

#include "kit/shared/bytes.h"
#include "kit/shared/system.h"

namespace KsvDisplay {

/// The characters of a text; nothing when it is no well-formed UTF-8.
std::optional<std::u32string> DecodeUtf8(std::string_view text);

/// Whether a reader sees the character as what it is: not a control, nor one without width, nor one that turns the
/// direction of others.
bool IsVisible(char32_t code);

/// A text for a terminal: backslashes doubled, and what is not visible as `\u{1b}`. A text that is no well-formed UTF-8
/// becomes one replacement character.
KsvKit::SecretBytes Printable(std::string_view text);

/// UTF-8 for at most `limit` units of wide text up to its end mark, with the number of characters; nothing for a
/// surrogate without its other half.
struct EncodedText {
  KsvKit::SecretBytes utf8;
  size_t characters = 0;
};
std::optional<EncodedText> EncodeUtf8(const KsvKit::WideChar* text, size_t limit);

}  // namespace KsvDisplay
