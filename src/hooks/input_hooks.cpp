#include "hooks/input_hooks.h"

#include <array>
#include <atomic>
#include <utility>
#include <vector>

#include "base/own_module.h"
#include "page/plugin.h"
#include "page/plugin_windows.h"
#include "page/scriptable.h"

namespace NorvoWebAPI::KSV {
namespace {

// The procedures read them on whatever thread they run.
std::atomic<HHOOK> mouseHook;
std::atomic<HHOOK> getMessageHook;
std::atomic<HHOOK> callWndHook;
std::array<HHOOK, 3> leftHooks{};  // Installed before the latest page began; the browser's thread only.

// As they are taken away.
std::array<std::atomic<HHOOK>*, 3> HooksInOrder() {
  return {&getMessageHook, &callWndHook, &mouseHook};
}

enum ClickState : int32_t { kAwaitsPress = 1, kAwaitsRelease = 2 };
std::atomic<int32_t> clickState = kAwaitsPress;
const DisplayState* pressedPage = nullptr;  // Whose release is awaited; only compared.

// A library or a page that answers a message with messages to its window would never come to an end: so deep may the
// hooks lie one inside the other, and so many repaints may one message cause.
constexpr uint32_t kMaxNesting = 16;

// The page whose window a message is for. Neither half of it ends while a hook works on it.
class HookedPage {
 public:
  explicit HookedPage(Plugin& hooked) : plugin(hooked), entered(hooked), called(*hooked.GetScriptable()) {
    ++scriptable.runningHooks;
  }
  HookedPage(const HookedPage&) = delete;
  HookedPage& operator=(const HookedPage&) = delete;
  ~HookedPage() { --scriptable.runningHooks; }

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

bool IsTooDeep(const DisplayState& page) {
  return page.runningHooks > kMaxNesting;
}

void Notify(const DisplayState& page, const DisplayState::Callback& slot, std::vector<JSObject> args) {
  if (IsTooDeep(page)) return;
  slot->Notify(args);  // Outlives its slot, which the page may fill anew from inside the call.
}

std::vector<JSObject> Position(POINT point) {
  std::vector<JSObject> args(1);
  args[0]["XCode"] = JSObject(int32_t{point.x});
  args[0]["YCode"] = JSObject(int32_t{point.y});
  return args;
}

void OnPress(Scriptable& page, POINT point) {
  if (clickState != kAwaitsPress || !page.mouseDownCallback || !page.Display().HasImage()) return;
  clickState = kAwaitsRelease;
  pressedPage = &page;
  Notify(page, page.mouseDownCallback, Position(point));
}

void OnRelease(Scriptable& page, POINT point) {
  if (clickState != kAwaitsRelease || !page.mouseUpCallback || !page.Display().HasImage()) return;
  ++page.buttonUpCount;
  ResetClickState();
  Notify(page, page.mouseUpCallback, Position(point));
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
      if (!ScreenToClient(hooked.plugin.window, &point)) return;
      // An image without a size still has its corner.
      if (point.x != 0 && point.x >= page.imageWidth) return;
      if (point.y != 0 && point.y >= page.imageHeight) return;
      (press ? OnPress : OnRelease)(page, point);
    });
  });
}

// Says that a hook is inside a repaint, until the outermost one ends.
class BusyRepaint {
 public:
  explicit BusyRepaint(DisplayState& painting) : state(painting) {
    ++state.runningRepaints;
    TrySetFlag(state.repaintMutex.Get(), &state.repaintBusy);
  }
  BusyRepaint(const BusyRepaint&) = delete;
  BusyRepaint& operator=(const BusyRepaint&) = delete;
  ~BusyRepaint() {
    if (--state.runningRepaints == 0) TryClearFlag(state.repaintMutex.Get(), &state.repaintBusy);
  }

 private:
  DisplayState& state;
};

// Marks a pulse; the repaints that one message may cause are counted anew after the outermost.
class Pulse {
 public:
  explicit Pulse(DisplayState& pulsing) : state(pulsing) { ++state.runningPulses; }
  Pulse(const Pulse&) = delete;
  Pulse& operator=(const Pulse&) = delete;
  ~Pulse() {
    if (--state.runningPulses == 0) state.sentPulses = 0;
  }

 private:
  DisplayState& state;
};

void PulseRepaint(HookedPage& hooked) {
  Scriptable& page = hooked.scriptable;
  if (IsTooDeep(page)) return;
  const Pulse pulse(page);
  if (page.repaintImageCallback) {
    Notify(page, page.repaintImageCallback, {});
    return;
  }
  if (page.buttonMutex && !FlagIsClear(page.buttonMutex.Get(), page.buttonHeld)) return;
  const BusyRepaint busy(page);
  JSObject scratch;
  page.Display().RepaintImage(page.sessionId, page.imageId, scratch);
}

void TellDisplayEvent(HWND window) {
  OnPage(window, [](HookedPage& hooked) {
    if (!hooked.scriptable.displayEventsCallback) return;
    JSObject told;
    told["callback"] = JSObject(0);
    Notify(hooked.scriptable, hooked.scriptable.displayEventsCallback, {told});
  });
}

LRESULT CALLBACK GetMessageHookProc(int code, WPARAM wParam, LPARAM lParam) {
  return Observe(getMessageHook, code, wParam, lParam, [&] {
    const auto& message = *reinterpret_cast<const MSG*>(lParam);
    if (!message.hwnd) return;
    if (message.message != WM_DISPLAY_EVENT) {
      OnActivePage(message.hwnd, PulseRepaint);
    } else if ((wParam & PM_REMOVE) != 0) {
      // One event, however often the host looks before it takes the message from the queue.
      TellDisplayEvent(message.hwnd);
    }
  });
}

LRESULT CALLBACK CallWndHookProc(int code, WPARAM wParam, LPARAM lParam) {
  return Observe(callWndHook, code, wParam, lParam, [&] {
    const HWND window = reinterpret_cast<const CWPSTRUCT*>(lParam)->hwnd;
    if (!window) return;
    OnActivePage(window, [](HookedPage& hooked) {
      Scriptable& page = hooked.scriptable;
      if (page.runningPulses == 0 || ++page.sentPulses < kMaxNesting) PulseRepaint(hooked);
    });
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
  // A set that was left before is gone: installing this one took it away.
  for (size_t i = 0; i < leftHooks.size(); ++i) {
    if (const HHOOK installed = HooksInOrder()[i]->exchange(nullptr)) leftHooks[i] = installed;
  }
}

void RemoveDisplayHooks() {
  LeaveDisplayHooks();
  for (HHOOK& hook : leftHooks) {
    if (hook) UnhookWindowsHookEx(std::exchange(hook, nullptr));
  }
}

void ResetClickState() {
  clickState = kAwaitsPress;
  pressedPage = nullptr;
}

void ForgetPress(const DisplayState& page) {
  if (pressedPage == &page) ResetClickState();
}

}  // namespace NorvoWebAPI::KSV
