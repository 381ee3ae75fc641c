#pragma once

#include "platform/win32.h"

namespace Bridge {

/// Where the browser has an element, in pixels of the screen.
struct Place {
  RECT element{};
  /// What the window must not leave: the part of the browser's window that shows pages.
  RECT within{};
  /// Whether the element can be seen at all: not in a tab behind another one, for example.
  bool isShown = false;
};

}  // namespace Bridge
