#pragma once

#include <functional>
#include <memory>
#include <optional>

#include "kit/display/layout.h"

namespace KsvDisplay {

/// A key of the keyboard that stands for one of the pad's. `digit` is a character, for digits only.
struct TypedKey {
  Key::Kind kind;
  uint8_t digit = 0;
};

/// What a window's messages lead to. Called on the window's thread, with no lock held.
struct WindowListener {
  /// Something of the window has to be painted again.
  std::function<void()> repaint;
  /// Gives whether the key was taken: the window does not get it then. Null when no keys are taken.
  std::function<bool(TypedKey)> type;
};

/// Calls a listener while this object lives. A window whose keys are taken gets the keyboard, if the thread has
/// it: at its next message and at each click in it. Without effect for a window of another process.
class WindowWatch {
 public:
  WindowWatch() = default;
  WindowWatch(uint32_t window, const WindowListener& listener);

 private:
  std::shared_ptr<void> held_;
};

}  // namespace KsvDisplay
