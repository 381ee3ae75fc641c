#pragma once

#include "kit/display/raster.h"

/// What painting needs of the system; one source file each.
namespace KsvDisplay::Painter {

/// Whether the handle names a window; true where there are no windows.
bool WindowStands(uint32_t window) noexcept;

/// Draws the labels with the system's letters. Throws kNoFont and kPaintingFailed.
void DrawLabels(Picture& picture, const Labels& labels);

/// Puts the picture into the window's client area, or, where there are no windows, into the file that
/// `KSV_DISPLAY_PICTURE` names. Throws kWindowGone and kPaintingFailed.
void Show(uint32_t window, Point at, const Picture& picture);

/// Lets the window's owner paint the area anew, now that no image stands there. Only notes it: nobody is called.
void Uncover(uint32_t window, const Rect& area) noexcept;

}  // namespace KsvDisplay::Painter
