#pragma once

#include "kit/display/raster.h"
#include "kit/display/texts.h"

/// The parts of painting that differ between the systems; one source file each.
namespace KsvDisplay::Painter {

/// Whether there is a window with this handle; true on systems without windows.
bool WindowExists(uint32_t window) noexcept;

/// The resolution that the window's thread has to paint for: 96 for a pixel of a page at a ratio of 1.
int DotsPerInch(uint32_t window) noexcept;

/// Where each of the text's code points ends, in pixels from its beginning. Throws kNoFont and kPaintingFailed.
std::vector<int> MeasureText(const std::u32string& text, int height, bool bold);

/// The language that the user has chosen for the system; English for all that the library does not speak.
Language UserLanguage() noexcept;

/// Draws the labels with a system font. Throws kNoFont and kPaintingFailed.
void DrawLabels(Picture& picture, const Labels& labels);

/// Paints the picture in the window's client area or, on systems without windows, writes it to the file that
/// `KSV_DISPLAY_PICTURE` names. Throws kWindowGone and kPaintingFailed.
void Show(uint32_t window, Point at, const Picture& picture);

/// Marks an area for repainting by the window's owner, because no image is there any more. Calls nothing.
void Invalidate(uint32_t window, const Rect& area) noexcept;

}  // namespace KsvDisplay::Painter
