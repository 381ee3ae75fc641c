#pragma once

#include <optional>
#include <string>

#include "kit/shared/bytes.h"
#include "kit/shared/system.h"

namespace KsvKit {

/// The characters of a text; nothing when it is no well-formed UTF-8.
std::optional<std::u32string> DecodeUtf8(std::string_view text);

void AppendUtf8(SecretBytes& out, char32_t code);

/// UTF-8 for at most `limit` units of wide text up to its end mark, with the number of characters; nothing for a
/// surrogate without its other half.
struct EncodedText {
  SecretBytes utf8;
  size_t characters = 0;
};
std::optional<EncodedText> EncodeUtf8(const WideChar* text, size_t limit);

}  // namespace KsvKit
