#include "kit/host/page_window.h"

#include <stdexcept>

#include "kit/program/paths.h"
#include "platform/desktop.h"
#include "platform/desktop_system.h"

namespace Kit {

PageWindow::PageWindow(const std::string& title, int width, int height)
    : state(std::make_unique<State>()), window(Make(Procedure, width, height)) {
  if (!window) throw std::runtime_error("No window can be opened: error " + std::to_string(GetLastError()) + ".");
  SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(state.get()));
  SetWindowTextW(window, PathOf(title).string<WCHAR>().c_str());
  ShowWindow(window, SW_SHOWNORMAL);
  AwaitDisplay();
}

PageWindow::~PageWindow() {
  DestroyWindow(window);
}

LRESULT CALLBACK PageWindow::Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  auto* const state = reinterpret_cast<State*>(GetWindowLongPtrW(window, GWLP_USERDATA));
  if (state && message == WM_PAINT) state->isPainted = true;
  if (!state || message != WM_CLOSE) return platform::DefaultProcedure(window, message, wParam, lParam);
  // The plug-in uses the window until its instance ends, so it is not destroyed here.
  state->isOpen = false;
  return 0;
}

std::optional<POINT> PageWindow::Origin() const {
  if (!IsWindowVisible(window)) return std::nullopt;
  POINT origin{0, 0};
  ClientToScreen(window, &origin);
  return origin;
}

void PageWindow::Click(int x, int y) {
  for (const UINT message : {WM_LBUTTONDOWN, WM_LBUTTONUP}) platform::MakeMouseInput(window, message, {x, y});
}

}  // namespace Kit
