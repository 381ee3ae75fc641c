#include <stdexcept>

#include "kit/host/complain.h"
#include "kit/host/page_window.h"
#include "platform/desktop.h"
#include "platform/desktop_system.h"

namespace Kit {

const bool PageWindow::kHasPicture = false;

HWND PageWindow::Make(WNDPROC procedure, int width, int height) {
  return platform::MakeWindow(procedure, {120, 90}, width, height);
}

void PageWindow::AwaitDisplay() const {
  if (!IsWindowVisible(window)) {
    Complain("The window can't be seen: no X display answers. DISPLAY has to name one.");
  } else if (!platform::PumpUntil([this] { return state->isPainted; })) {
    Complain("The window is not on the display yet, after 10 s.");
  }
}

void PageWindow::SavePicture(const std::filesystem::path& /*path*/) const {
  throw std::runtime_error("No picture can be taken of a window of this system.");
}

}  // namespace Kit
