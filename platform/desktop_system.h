/// The part of desktop.h that each system does its own way.
#pragma once

#include "platform/win32.h"

namespace platform {

enum class Frame { None, Caption };

/// Makes a window that is not shown; null if the system has none for us. On Windows it is above all others. With a
/// caption it never gets the keyboard and the user can't move it. On Linux `frame` has no effect: a window manager
/// draws what caption there is.
HWND MakeWindow(WNDPROC procedure, POINT clientOrigin, int width, int height, Frame frame = Frame::None);
/// What a window's procedure does with a message that it has no interest in.
LRESULT CALLBACK DefaultProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

}  // namespace platform
