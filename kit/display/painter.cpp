#include "kit/display/painter.h"

#include "base/scope_exit.h"
#include "kit/display/window_handle.h"

namespace KsvDisplay::Painter {

BITMAPINFO FormatOf(const Picture& picture) {
  BITMAPINFO format{};
  format.bmiHeader.biSize = sizeof(format.bmiHeader);
  format.bmiHeader.biWidth = picture.width;
  format.bmiHeader.biHeight = -picture.height;
  format.bmiHeader.biPlanes = 1;
  format.bmiHeader.biBitCount = 32;
  format.bmiHeader.biCompression = BI_RGB;
  return format;
}

bool WindowExists(uint32_t window) noexcept {
  return IsWindow(HandleOf(window)) != 0;
}

void Show(uint32_t window, Point at, const Picture& picture) {
  Require(WindowExists(window), Status::kWindowGone);
  const HDC dc = GetDC(HandleOf(window));
  Require(dc != nullptr, Status::kPaintingFailed);
  const NorvoWebAPI::ScopeExit release([=] { ReleaseDC(HandleOf(window), dc); });
  const BITMAPINFO format = FormatOf(picture);
  const auto width = static_cast<DWORD>(picture.width);
  const auto height = static_cast<DWORD>(picture.height);
  Require(SetDIBitsToDevice(dc, at.x, at.y, width, height, 0, 0, 0, height, picture.pixels.data(), &format,
                            DIB_RGB_COLORS) != 0,
          Status::kPaintingFailed);
  // Else the window's own procedure, which may be about to take WM_PAINT, would erase it.
  const RECT painted{at.x, at.y, at.x + picture.width, at.y + picture.height};
  ValidateRect(HandleOf(window), &painted);
  Disclose(picture);
}

void Invalidate(uint32_t window, const Rect& area) noexcept {
  const RECT uncovered{area.x, area.y, area.right(), area.bottom()};
  InvalidateRect(HandleOf(window), &uncovered, TRUE);
}

}  // namespace KsvDisplay::Painter
