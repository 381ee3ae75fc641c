#pragma once

#include "base/owner.h"
#include "kit/display/display_status.h"
#include "kit/display/geometry.h"
#include "platform/win32.h"

/// Whether a click that a page tells of is the user's: page script can call the library whenever it likes.
namespace KsvDisplay::UserInput {

/// Watches the user's left button in a window. While the system delivers a press or a release there, it is known to
/// `Take`. Without effect for a window of another process.
class Watch {
 public:
  Watch() = default;
  explicit Watch(uint32_t window) noexcept;

 private:
  NorvoWebAPI::Owner<HHOOK, UnhookWindowsHookEx> hook_;
};

/// Throws kImageNotVisible unless the whole area can be seen: no part is outside of the window or of what is shown of
/// it.
void RequireVisible(uint32_t window, const Rect& area);

enum class Button { kPressed, kReleased };

/// Throws kNoUserInput unless the system is delivering this press or release, at this point of this window, to the
/// calling thread. Each is taken once.
void Take(uint32_t window, Button button, Point at);

}  // namespace KsvDisplay::UserInput
