#include "bridge/host/display_window.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "base/scope_exit.h"
#include "platform/desktop_system.h"

namespace Bridge {
namespace {

thread_local bool isInClick = false;

// The system calls this for input alone, not for messages that somebody posts. Hooks of a thread run before those for
// all threads: so the module's hook, and with it the page's function, runs within the call of the next one.
LRESULT CALLBACK WatchClicks(int code, WPARAM message, LPARAM lParam) {
  const bool isClick = code == HC_ACTION && (message == WM_LBUTTONDOWN || message == WM_LBUTTONUP);
  const NorvoWebAPI::ScopeExit restore([before = std::exchange(isInClick, isClick)] { isInClick = before; });
  return CallNextHookEx(nullptr, code, message, lParam);
}

// WM_CLOSE is ignored: the module uses the window until its instance ends.
LRESULT CALLBACK ProcessMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  return message == WM_CLOSE ? 0 : platform::DefaultProcedure(window, message, wParam, lParam);
}

// What the frame adds on each side of the client area.
RECT FrameOf(HWND window) {
  RECT outside{};
  RECT client{};
  POINT begin{0, 0};
  GetWindowRect(window, &outside);
  GetClientRect(window, &client);
  ClientToScreen(window, &begin);
  return {begin.x - outside.left, begin.y - outside.top, outside.right - begin.x - client.right,
          outside.bottom - begin.y - client.bottom};
}

// Where a length begins that is to begin at `wanted` and has to lie between `least` and `end`.
LONG Fit(LONG wanted, LONG length, LONG least, LONG end) {
  return std::max(least, std::min(wanted, end - length));
}

}  // namespace

// No letter is wider than half of what the caption is high. Where a window manager draws the caption, it tells neither
// that nor the room that its buttons take.
std::basic_string<WCHAR> CaptionOf(const std::string& origin, int width, int height) {
  constexpr int kButtons = 120;
  constexpr int kWidestLetter = 14;
  const auto room =
      static_cast<size_t>(height > 0 ? 2 * width / height : std::max(0, width - kButtons) / kWidestLetter);
  if (origin.empty() || origin == "null") return KSV_WIDE("no address");
  std::basic_string<WCHAR> caption;
  if (origin.size() > room) caption += KSV_WIDE('\u2026');
  for (const char letter : origin.substr(origin.size() - std::min(origin.size(), room))) {
    // Browsers write origins with these letters alone; no other one may make it look like another origin.
    const bool isUsual = letter > ' ' && letter <= '~';
    caption += isUsual ? static_cast<WCHAR>(letter) : KSV_WIDE('?');
  }
  return caption;
}

// One for all windows of the thread, because hooks are nested.
std::shared_ptr<const DisplayWindow::ClickHook> DisplayWindow::ShareClickHook() {
  thread_local std::weak_ptr<const ClickHook> shared;
  std::shared_ptr<const ClickHook> hook = shared.lock();
  if (!hook) {
    hook = std::make_shared<const ClickHook>(SetWindowsHookExA(WH_MOUSE, WatchClicks, nullptr, GetCurrentThreadId()));
    shared = hook;
  }
  return hook;
}

DisplayWindow::DisplayWindow(const std::string& attestedOrigin, int width, int height)
    : origin(attestedOrigin),
      window(platform::MakeWindow(ProcessMessage, {0, 0}, width, height, platform::Frame::Caption)),
      clickHook(ShareClickHook()) {
  if (!window || !*clickHook) throw std::runtime_error("The system has no window for the plug-in.");
}

void DisplayWindow::MoveTo(const Place& to) {
  place = to;
  Update();
}

void DisplayWindow::SetHasImage(bool has) {
  hasImage = has;
  Update();
}

void DisplayWindow::Update() {
  if (!place) return;
  const RECT frame = FrameOf(window.Get());
  const RECT& element = place->element;
  const RECT& within = place->within;
  const LONG width = std::min(element.right - element.left + frame.left + frame.right, within.right - within.left);
  // A window manager's caption is above the window, and the system does not report its size.
  constexpr LONG kManagersCaption = 40;
  const LONG highest = std::min(within.bottom, within.top + (frame.top > 0 ? 0 : kManagersCaption));
  const LONG height = std::min(element.bottom - element.top + frame.top + frame.bottom, within.bottom - highest);
  const LONG left = Fit(element.left - frame.left, width, within.left, within.right);
  const LONG top = Fit(element.top - frame.top, height, highest, within.bottom);
  SetWindowTextW(window.Get(), CaptionOf(origin, static_cast<int>(width), static_cast<int>(frame.top)).c_str());
  const UINT visibility = hasImage && place->isShown ? SWP_SHOWWINDOW : SWP_HIDEWINDOW;
  SetWindowPos(window.Get(), HWND_TOPMOST, left, top, width, height, SWP_NOACTIVATE | visibility);
}

bool DisplayWindow::IsInClick() {
  return isInClick;
}

}  // namespace Bridge
