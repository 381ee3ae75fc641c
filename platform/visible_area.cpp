#include <algorithm>

#include "platform/internal.h"

using platform::Fail;

namespace {

auto& Contexts() {
  static platform::NeverDestroyed<platform::HandleTable<RECT, 0x30000004>> contexts;
  return *contexts;
}

int ComplexityOf(const RECT& area) {
  return area.left < area.right && area.top < area.bottom ? SIMPLEREGION : NULLREGION;
}

}  // namespace

HDC GetDCEx(HWND window, HRGN region, DWORD) {
  if (region) return Fail<HDC>(ERROR_CALL_NOT_IMPLEMENTED, nullptr);
  RECT visible;
  if (!GetClientRect(window, &visible)) return nullptr;
  return static_cast<HDC>(Contexts().Add(std::make_shared<RECT>(visible)));
}

int IntersectClipRect(HDC context, int left, int top, int right, int bottom) {
  const auto clip = Contexts().Find(context);
  if (!clip) return Fail(ERROR_INVALID_HANDLE, RGN_ERROR);
  *clip = {std::max<LONG>(clip->left, left), std::max<LONG>(clip->top, top), std::min<LONG>(clip->right, right),
           std::min<LONG>(clip->bottom, bottom)};
  return ComplexityOf(*clip);
}

int GetClipBox(HDC context, RECT* box) {
  const auto clip = Contexts().Find(context);
  if (!clip) return Fail(ERROR_INVALID_HANDLE, RGN_ERROR);
  const int complexity = ComplexityOf(*clip);
  *box = complexity == NULLREGION ? RECT{} : *clip;
  return complexity;
}

int ReleaseDC(HWND, HDC context) {
  return Contexts().Remove(context) ? 1 : 0;
}
