/// The part of desktop.h that each system does its own way.
#pragma once

#include "platform/win32.h"

namespace platform {

enum class Frame { None, Caption };

/// Above all others, and not shown. With a caption it never gets the keyboard, and the user can't move it; on Linux a
/// window manager draws the caption. Null if the system has no window for us.
HWND MakeWindow(WNDPROC procedure, POINT clientOrigin, int width, int height, Frame frame = Frame::None);
/// What a window's procedure does with a message that it has no interest in.
LRESULT CALLBACK DefaultProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

}  // namespace platform
