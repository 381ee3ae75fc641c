#pragma once

#include "kit/display/raster.h"
#include "kit/display/texts.h"
#include "platform/win32.h"

namespace KsvDisplay::Painter {

bool WindowExists(uint32_t window) noexcept;

/// Paints the picture in the window's client area. Throws kWindowGone and kPaintingFailed.
void Show(uint32_t window, Point at, const Picture& picture);

/// Marks an area for repainting by the window's owner, because no image is there any more. Calls nothing.
void Invalidate(uint32_t window, const Rect& area) noexcept;

/// The format of a `Picture`: rows from the top, 32 bits a pixel.
BITMAPINFO FormatOf(const Picture& picture);

// What differs between the systems, in one source file each:

/// The resolution that the window's thread has to paint for: 96 for a pixel of a page at a ratio of 1.
int DotsPerInch(uint32_t window) noexcept;

/// Where each of the text's code points ends, in pixels from its beginning. Throws kNoFont and kPaintingFailed.
std::vector<int> MeasureText(const std::u32string& text, int height, bool bold);

/// The language that the user has chosen for the system; English for all that the library does not speak.
Language UserLanguage() noexcept;

/// Draws the labels with a system font. Throws kNoFont and kPaintingFailed.
void DrawLabels(Picture& picture, const Labels& labels);

/// Has no effect on Windows, where tests read the window; elsewhere writes the file that `KSV_DISPLAY_PICTURE` names.
void Disclose(const Picture& picture);

}  // namespace KsvDisplay::Painter
