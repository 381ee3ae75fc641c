#pragma once

namespace support {

/// While this lives, windows become visible on a display that shows nothing. Where the system has a display of its own
/// for tests, there is nothing to do.
class QuietScreen {
 public:
  QuietScreen();
  ~QuietScreen();
  QuietScreen(const QuietScreen&) = delete;
  QuietScreen& operator=(const QuietScreen&) = delete;
};

}  // namespace support
