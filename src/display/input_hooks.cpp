#include "display/input_hooks.h"

#include <atomic>
#include <mutex>
#include <utility>
#include <vector>

#include "api/scriptable.h"
#include "foundation/own_module.h"
#include "shell/plugin.h"
#include "shell/plugin_windows.h"

namespace NorvoWebAPI::KSV {
namespace {

// The procedures read them on whatever thread they run.
std::atomic<HHOOK> mouseHook;
std::atomic<HHOOK> getMessageHook;
std::atomic<HHOOK> callWndHook;
std::vector<HHOOK>& leftHooks = *new std::vector<HHOOK>;  // Of pages before the latest; the browser's thread only.

enum ClickState : int32_t { kAwaitsPress = 1, kAwaitsRelease = 2 };
std::atomic<int32_t> clickState = kAwaitsPress;

// A library or a page that answers each pulse with a message to the window would never come to an end.
constexpr uint32_t kMaxPulses = 16;

// The page whose window a message is for. Neither half of it ends while a hook works on it.
class HookedPage {
 public:
  explicit HookedPage(Plugin& hooked) : plugin(hooked), entered(hooked), called(*hooked.GetScriptable()) {}

  Plugin& plugin;
  Scriptable& scriptable = *plugin.GetScriptable();

 private:
  Plugin::Entry entered;
  ScriptDispatch::Call called;
};

// Does `work` on the window's page, unless there is none that still hears.
template <typename Work>
void OnPage(HWND window, Work work) {
  Plugin* const plugin = FindPluginByWindow(window);
  if (!plugin || !plugin->GetScriptable() || plugin->IsDestroyed()) return;
  HookedPage page(*plugin);
  work(page);
}

// The same, but only where an image stands.
template <typename Work>
void OnActivePage(HWND window, Work work) {
  OnPage(window, [&](HookedPage& page) {
    if (IsWindow(page.plugin.window) && page.scriptable.displayActive == 1) work(page);
  });
}

// The guard of every procedure, and its end: the message goes on, whatever became of ours.
template <typename Work>
LRESULT Observe(const std::atomic<HHOOK>& hook, int code, WPARAM wParam, LPARAM lParam, Work work) noexcept {
  try {
    if (code == HC_ACTION && lParam) work();
  } catch (...) {
    // The system has no use for our failures.
  }
  return CallNextHookEx(hook, code, wParam, lParam);
}

void Notify(const DisplayState::Callback& slot, std::vector<JSObject> args) {
  // Kept for the call: from inside it the page may set another function.
  const DisplayState::Callback callback = slot;
  callback->Notify(args);
}

std::vector<JSObject> Position(POINT point) {
  JSObject position;
  position["XCode"] = JSObject(int32_t{point.x});
  position["YCode"] = JSObject(int32_t{point.y});
  return {position};
}

void OnPress(Scriptable& page, POINT point) {
  if (clickState != kAwaitsPress || !page.mouseDownCallback || !page.Display().HasImage()) return;
  clickState = kAwaitsRelease;
  Notify(page.mouseDownCallback, Position(point));
}

void OnRelease(Scriptable& page, POINT point) {
  if (clickState != kAwaitsRelease || !page.mouseUpCallback || !page.Display().HasImage()) return;
  ++page.buttonUpCount;
  clickState = kAwaitsPress;
  Notify(page.mouseUpCallback, Position(point));
}

LRESULT CALLBACK MouseHookProc(int code, WPARAM message, LPARAM lParam) {
  return Observe(mouseHook, code, message, lParam, [&] {
    if (message != WM_LBUTTONDOWN && message != WM_LBUTTONUP) return;
    const auto& info = *reinterpret_cast<const MOUSEHOOKSTRUCT*>(lParam);
    if (!info.hwnd) return;
    OnActivePage(info.hwnd, [&](HookedPage& hooked) {
      Scriptable& page = hooked.scriptable;
      const bool press = message == WM_LBUTTONDOWN;
      const auto turnFlag = press ? TrySetFlag : TryClearFlag;
      if (page.buttonMutex && !turnFlag(page.buttonMutex.Get(), &page.buttonHeld)) return;
      POINT point = info.pt;
      ScreenToClient(hooked.plugin.window, &point);
      // An image without a size still has its corner.
      if (point.x != 0 && point.x >= page.imageWidth) return;
      if (point.y != 0 && point.y >= page.imageHeight) return;
      (press ? OnPress : OnRelease)(page, point);
    });
  });
}

// Marks a pulse of a page's. The page may be painted from inside one, and the pulses then lie one inside the other.
class Pulse {
 public:
  explicit Pulse(DisplayState& pulsing) : state(pulsing) { ++state.runningPulses; }
  Pulse(const Pulse&) = delete;
  Pulse& operator=(const Pulse&) = delete;
  ~Pulse() { --state.runningPulses; }

 private:
  DisplayState& state;
};

// Says that a hook is inside a repaint, for as long as the outermost one runs.
class BusyRepaint {
 public:
  explicit BusyRepaint(DisplayState& painting) : state(painting), before(painting.repaintBusy) {
    TrySetFlag(state.repaintMutex.Get(), &state.repaintBusy);
  }
  BusyRepaint(const BusyRepaint&) = delete;
  BusyRepaint& operator=(const BusyRepaint&) = delete;
  ~BusyRepaint() {
    if (before == 0) TryClearFlag(state.repaintMutex.Get(), &state.repaintBusy);
  }

 private:
  DisplayState& state;
  uint32_t before;
};

void PulseRepaint(HWND window) {
  OnActivePage(window, [](HookedPage& hooked) {
    Scriptable& page = hooked.scriptable;
    if (page.runningPulses == kMaxPulses) return;
    const Pulse pulse(page);
    if (page.repaintImageCallback) {
      Notify(page.repaintImageCallback, {});
      return;
    }
    if (page.buttonMutex && !FlagIsClear(page.buttonMutex.Get(), page.buttonHeld)) return;
    const BusyRepaint busy(page);
    JSObject scratch;
    page.Display().RepaintImage(page.sessionId, page.imageId, scratch);
  });
}

void TellDisplayEvent(HWND window) {
  OnPage(window, [](HookedPage& hooked) {
    if (!hooked.scriptable.displayEventsCallback) return;
    JSObject told;
    told["callback"] = JSObject(0);
    Notify(hooked.scriptable.displayEventsCallback, {told});
  });
}

LRESULT CALLBACK GetMessageHookProc(int code, WPARAM wParam, LPARAM lParam) {
  return Observe(getMessageHook, code, wParam, lParam, [&] {
    const auto& message = *reinterpret_cast<const MSG*>(lParam);
    if (message.message != WM_DISPLAY_EVENT) {
      if (message.hwnd) PulseRepaint(message.hwnd);
    } else if (wParam == PM_REMOVE) {
      // One event, however often the host looks before it takes the message from the queue.
      TellDisplayEvent(message.hwnd);
    }
  });
}

LRESULT CALLBACK CallWndHookProc(int code, WPARAM wParam, LPARAM lParam) {
  return Observe(callWndHook, code, wParam, lParam, [&] {
    const HWND window = reinterpret_cast<const CWPSTRUCT*>(lParam)->hwnd;
    if (window) PulseRepaint(window);
  });
}

}  // namespace

uint32_t DisplayEventCallback(DisplayEventRecord* record) {
  constexpr uint32_t kAcceptedStatuses[] = {0, 36};
  constexpr uint32_t kTellingBits = 3;
  if (!record) return 0;
  if (record->eventStatus != kAcceptedStatuses[0] && record->eventStatus != kAcceptedStatuses[1]) return 0;
  if ((record->eventBits & kTellingBits) == 0) return 1;
  // Handles are told apart by their low 32 bits. What is no window could still be the number that means all windows.
  const auto window = reinterpret_cast<HWND>(static_cast<LONG_PTR>(static_cast<int32_t>(record->context)));
  if (IsWindow(window)) PostMessageA(window, WM_DISPLAY_EVENT, 0, 0);
  return 1;
}

void InstallDisplayHooks() {
  RemoveDisplayHooks();
  const HINSTANCE module = OwnModule();
  mouseHook = SetWindowsHookExA(WH_MOUSE, MouseHookProc, module, 0);
  getMessageHook = SetWindowsHookExA(WH_GETMESSAGE, GetMessageHookProc, module, 0);
  callWndHook = SetWindowsHookExA(WH_CALLWNDPROC, CallWndHookProc, nullptr, GetCurrentThreadId());
}

void LeaveDisplayHooks() {
  for (std::atomic<HHOOK>* const hook : {&getMessageHook, &callWndHook, &mouseHook}) {
    if (const HHOOK installed = hook->exchange(nullptr)) leftHooks.push_back(installed);
  }
}

void RemoveDisplayHooks() {
  LeaveDisplayHooks();
  for (const HHOOK hook : std::exchange(leftHooks, {})) UnhookWindowsHookEx(hook);
}

void ResetClickState() {
  clickState = kAwaitsPress;
}

}  // namespace NorvoWebAPI::KSV
