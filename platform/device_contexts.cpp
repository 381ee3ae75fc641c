#include <algorithm>

#include "platform/message_state.h"

using platform::CopyWindow;
using platform::Fail;

namespace {

struct Context {
  HWND window;
  RECT clip;
  bool isCovered;
};

auto& Contexts() {
  static platform::NeverDestroyed<platform::HandleTable<Context, 0x30000004>> contexts;
  return *contexts;
}

RECT Intersection(const RECT& one, const RECT& other) {
  return {std::max(one.left, other.left), std::max(one.top, other.top), std::min(one.right, other.right),
          std::min(one.bottom, other.bottom)};
}

int ComplexityOf(const Context& context) {
  const RECT& area = context.clip;
  if (area.left >= area.right || area.top >= area.bottom) return NULLREGION;
  return context.isCovered ? COMPLEXREGION : SIMPLEREGION;
}

}  // namespace

HDC GetDC(HWND window) {
  return GetDCEx(window, nullptr, DCX_CACHE);
}

HDC GetDCEx(HWND window, HRGN region, DWORD) {
  if (region) return Fail<HDC>(ERROR_CALL_NOT_IMPLEMENTED, nullptr);
  const auto found = CopyWindow(window);
  if (!found) return nullptr;
  const auto& [entry, shown] = *found;
  const auto& [origin, size] = entry.place;
  Context context{window, {0, 0, size.x, size.y}, entry.isCovered};
  if (shown) {
    const POINT screen = shown.screen->size();
    context.clip = Intersection(context.clip, {-origin.x, -origin.y, screen.x - origin.x, screen.y - origin.y});
  }
  return static_cast<HDC>(Contexts().Add(std::make_shared<Context>(context)));
}

int ReleaseDC(HWND, HDC context) {
  return Contexts().Remove(context) ? 1 : 0;
}

int IntersectClipRect(HDC handle, int left, int top, int right, int bottom) {
  const auto context = Contexts().Find(handle);
  if (!context) return Fail(ERROR_INVALID_HANDLE, RGN_ERROR);
  context->clip = Intersection(context->clip, {left, top, right, bottom});
  return ComplexityOf(*context);
}

int GetClipBox(HDC handle, RECT* box) {
  const auto context = Contexts().Find(handle);
  if (!context) return Fail(ERROR_INVALID_HANDLE, RGN_ERROR);
  const int complexity = ComplexityOf(*context);
  *box = complexity == NULLREGION ? RECT{} : context->clip;
  return complexity;
}

int SetDIBitsToDevice(HDC handle, int x, int y, DWORD width, DWORD height, int fromX, int fromY, UINT firstRow,
                      UINT rows, const void* bits, const BITMAPINFO* format, UINT colours) {
  const auto context = Contexts().Find(handle);
  if (!context) return Fail(ERROR_INVALID_HANDLE, 0);
  const BITMAPINFOHEADER& header = format->bmiHeader;
  const bool isWhole = fromX == 0 && fromY == 0 && firstRow == 0 && rows == height &&
                       header.biWidth == static_cast<LONG>(width) && header.biHeight == -static_cast<LONG>(height);
  if (!isWhole || header.biBitCount != 32 || header.biCompression != BI_RGB || colours != DIB_RGB_COLORS) {
    return Fail(ERROR_CALL_NOT_IMPLEMENTED, 0);
  }
  const auto found = CopyWindow(context->window);
  if (!found) return 0;
  const auto& [entry, shown] = *found;
  const platform::Placement area{{x, y}, {static_cast<LONG>(width), static_cast<LONG>(height)}};
  if (shown && entry.isVisible) shown.screen->Paint(shown.number, area, static_cast<const uint32_t*>(bits));
  return static_cast<int>(rows);
}

BOOL InvalidateRect(HWND window, const RECT* area, BOOL) {
  const auto found = CopyWindow(window);
  if (!found) return FALSE;
  const auto& [entry, shown] = *found;
  const RECT whole{0, 0, entry.place.size.x, entry.place.size.y};
  const RECT inside = area ? Intersection(*area, whole) : whole;
  if (shown && inside.left < inside.right && inside.top < inside.bottom) shown.screen->Clear(shown.number, inside);
  return TRUE;
}

BOOL ValidateRect(HWND window, const RECT*) {
  return IsWindow(window) ? TRUE : Fail(ERROR_INVALID_WINDOW_HANDLE, FALSE);
}
