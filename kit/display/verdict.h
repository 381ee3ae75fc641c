#pragma once

#include <optional>
#include <string>

#include "kit/display/display_status.h"

namespace KsvDisplay {

/// What the page tells of the last input: message type 3.
struct Verdict {
  /// It was wrong.
  bool error = false;
  /// At most `kMostAttempts`.
  std::optional<uint32_t> attemptsLeft;
  /// For another try, because the last input's has been used; empty: as before.
  std::string challenge;
};

constexpr uint32_t kMostAttempts = 99;

/// Reads the JSON. Throws kBadRequest.
Verdict ReadVerdict(ByteView json);

}  // namespace KsvDisplay
