#include "kit/display/user_input.h"

#include <utility>

#include "base/scope_exit.h"
#include "kit/display/window_handle.h"

namespace KsvDisplay::UserInput {
namespace {

struct Delivery {
  HWND window;
  WPARAM message;
  POINT at;
  bool taken = false;
};

/// The innermost of the calling thread: a page's function may run a message loop of its own.
thread_local Delivery* current = nullptr;

/// The system calls this for input alone, not for messages that somebody posts. Hooks of the thread run before those
/// for all threads; so the host's hook, and with it the page's function, runs within the call of the next one.
LRESULT CALLBACK WatchMouse(int code, WPARAM message, LPARAM lParam) {
  if (code != HC_ACTION || lParam == 0) return CallNextHookEx(nullptr, code, message, lParam);
  const auto& mouse = *reinterpret_cast<const MOUSEHOOKSTRUCT*>(lParam);
  Delivery delivery{mouse.hwnd, message, mouse.pt};
  Delivery* const outer = std::exchange(current, &delivery);
  const NorvoWebAPI::ScopeExit restore([outer] { current = outer; });
  return CallNextHookEx(nullptr, code, message, lParam);
}

}  // namespace

Watch::Watch(uint32_t window) noexcept {
  const DWORD thread = GetWindowThreadProcessId(HandleOf(window), nullptr);
  if (thread != 0) *hook_.Put() = SetWindowsHookExA(WH_MOUSE, WatchMouse, nullptr, thread);
}

void RequireVisible(uint32_t window, const Rect& area) {
  // From the cache: a context of the window's own could have other limits, and would keep those that are set here.
  const HDC context = GetDCEx(HandleOf(window), nullptr, DCX_CACHE | DCX_CLIPSIBLINGS | DCX_CLIPCHILDREN);
  Require(context != nullptr, Status::kImageNotVisible);
  const NorvoWebAPI::ScopeExit release([=] { ReleaseDC(HandleOf(window), context); });
  IntersectClipRect(context, area.x, area.y, area.right(), area.bottom());
  RECT visible{};
  Require(GetClipBox(context, &visible) == SIMPLEREGION && visible.left == area.x && visible.top == area.y &&
              visible.right == area.right() && visible.bottom == area.bottom(),
          Status::kImageNotVisible);
}

void Take(uint32_t window, Button button, Point at) {
  const WPARAM message = button == Button::kPressed ? WM_LBUTTONDOWN : WM_LBUTTONUP;
  Require(current != nullptr && !current->taken && current->window == HandleOf(window) && current->message == message,
          Status::kNoUserInput);
  POINT client = current->at;
  Require(ScreenToClient(HandleOf(window), &client) != FALSE && client.x == at.x && client.y == at.y,
          Status::kNoUserInput);
  current->taken = true;
}

}  // namespace KsvDisplay::UserInput
