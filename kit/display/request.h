#pragma once

#include <string>

#include "kit/display/display_status.h"

namespace KsvDisplay {

/// What a page passes on for its next image, both texts checked.
struct Request {
  /// What the input is for, shown in the image; empty for none.
  std::string reference;
  /// From whoever will open the input, and never used before; empty for none.
  std::string challenge;
};

constexpr size_t kMaxReference = 64;

/// Whether the text is well-formed UTF-8 of at most `most` bytes, with visible characters only: with others one text
/// could look like another.
bool IsShowable(std::string_view text, size_t most);

/// Whether the text has the length and the characters of a challenge.
bool IsChallenge(std::string_view text);

/// Reads the message's JSON. Throws kBadRequest.
Request ReadRequest(ByteView message);

}  // namespace KsvDisplay
