#include <stdexcept>

#include "kit/host/page_window.h"
#include "platform/desktop.h"

namespace Kit {

// The platform layer's windows get messages and clicks, but are not visible.
struct PageWindow::State {
  State(int width, int height) : window({0, 0}, width, height) {}
  platform::TestWindow window;
};

const bool PageWindow::kHasPicture = false;

PageWindow::PageWindow(const std::string& /*title*/, int width, int height)
    : state(std::make_unique<State>(width, height)) {}

PageWindow::~PageWindow() = default;

HWND PageWindow::Handle() const {
  return state->window.handle();
}

std::optional<POINT> PageWindow::Origin() const {
  return {};
}

bool PageWindow::IsOpen() const {
  return true;
}

void PageWindow::Click(int x, int y) {
  state->window.PressLeft(x, y);
  state->window.ReleaseLeft(x, y);
}

void PageWindow::SavePicture(const std::filesystem::path& /*path*/) const {
  throw std::runtime_error("Windows of this system have no picture.");
}

}  // namespace Kit
