#include "hooks/input_hooks.h"

#include <memory>
#include <vector>

#include "base/never_destroyed.h"
#include "base/own_module.h"
#include "base/scope_exit.h"
#include "page/flag_mutex.h"
#include "page/plugin_windows.h"

namespace NorvoWebAPI::KSV {
namespace {

// The page on which the left button was pressed and is not yet released. If that page ends, the next press is accepted.
// The browser's thread only.
NeverDestroyed<std::weak_ptr<PageLife>> pressedPage;

bool AwaitsRelease() {
  const std::shared_ptr<PageLife> life = pressedPage->lock();
  return life && !life->HasEnded();
}

// A library or a page that answers a message by sending one to its window would never come to an end: hooks may be
// nested this deep, and the messages sent during a pulse cause fewer pulses than this.
constexpr uint32_t kMaxNesting = 16;

// Runs `work` on the object of the page in a window, which it keeps alive.
template <typename Work>
void OnPage(HWND window, Work work) {
  const std::shared_ptr<Scriptable> object = FindScriptableByWindow(window);
  if (!object) return;
  ++object->hookDepth;
  const ScopeExit leave([&] { --object->hookDepth; });
  if (object->hookDepth <= kMaxNesting) work(*object);
}

// The same, but only where an image is shown. A message without a window is none of the page's, though a host may have
// given the page a null one.
template <typename Work>
void OnActivePage(HWND window, Work work) {
  if (!window) return;
  OnPage(window, [&](Scriptable& object) {
    if (IsWindow(object.Life().window) && object.displayActive == 1) work(object);
  });
}

// The guard of every hook procedure. Every message goes on to the next hook.
template <typename Work>
LRESULT Observe(const std::atomic<HHOOK>& hook, int code, WPARAM wParam, LPARAM lParam, Work work) noexcept {
  try {
    if (code == HC_ACTION && lParam) work();
  } catch (...) {
    // No exception may cross into the system.
  }
  return CallNextHookEx(hook, code, wParam, lParam);
}

void CallBack(const DisplayState::Callback& callback, std::vector<JSObject> args) {
  JSObject ignored;
  callback->Call(args, ignored);
}

std::vector<JSObject> Position(POINT point) {
  std::vector<JSObject> args(1);
  args[0]["XCode"] = JSObject(int32_t{point.x});
  args[0]["YCode"] = JSObject(int32_t{point.y});
  return args;
}

void OnPress(Scriptable& object, POINT point) {
  if (AwaitsRelease() || !object.mouseDownCallback || !object.Display().HasImage()) return;
  *pressedPage = object.SharedLife();
  CallBack(object.mouseDownCallback, Position(point));
}

void OnRelease(Scriptable& object, POINT point) {
  if (!AwaitsRelease() || !object.mouseUpCallback || !object.Display().HasImage()) return;
  ++object.buttonUpCount;
  ResetClickState();
  CallBack(object.mouseUpCallback, Position(point));
}

LRESULT CALLBACK MouseHookProc(int code, WPARAM message, LPARAM lParam) {
  return Observe(displayHooks.mouse, code, message, lParam, [&] {
    if (message != WM_LBUTTONDOWN && message != WM_LBUTTONUP) return;
    const auto& info = *reinterpret_cast<const MOUSEHOOKSTRUCT*>(lParam);
    OnActivePage(info.hwnd, [&](Scriptable& object) {
      const bool press = message == WM_LBUTTONDOWN;
      const auto turnFlag = press ? TrySetFlag : TryClearFlag;
      if (!turnFlag(object.buttonMutex.Get(), &object.buttonHeld)) return;
      POINT point = info.pt;
      ScreenToClient(object.Life().window, &point);
      // Position 0 is accepted even for an image of width or height 0.
      if (point.x != 0 && point.x >= object.imageWidth) return;
      if (point.y != 0 && point.y >= object.imageHeight) return;
      (press ? OnPress : OnRelease)(object, point);
    });
  });
}

void PulseRepaint(Scriptable& object) {
  ++object.pulseDepth;
  const ScopeExit leave([&] {
    if (--object.pulseDepth == 0) object.nestedPulses = 0;
  });
  if (object.repaintImageCallback) {
    CallBack(object.repaintImageCallback, {});
    return;
  }
  if (!FlagIsClear(object.buttonMutex.Get(), object.buttonHeld)) return;
  TrySetFlag(object.repaintMutex.Get(), &object.repaintBusy);
  object.Display().RepaintImage(object.sessionId, object.imageId);
  TryClearFlag(object.repaintMutex.Get(), &object.repaintBusy);
}

void CallDisplayEventsFunction(Scriptable& object) {
  if (!object.displayEventsCallback) return;
  std::vector<JSObject> args(1);
  args[0]["callback"] = JSObject(0);
  CallBack(object.displayEventsCallback, std::move(args));
}

LRESULT CALLBACK GetMessageHookProc(int code, WPARAM wParam, LPARAM lParam) {
  return Observe(displayHooks.getMessage, code, wParam, lParam, [&] {
    const auto& message = *reinterpret_cast<const MSG*>(lParam);
    if (message.message != WM_DISPLAY_EVENT) {
      OnActivePage(message.hwnd, PulseRepaint);
    } else if ((wParam & PM_REMOVE) != 0) {
      // The host may look at a message several times before it takes it from the queue: one event is told once.
      OnPage(message.hwnd, CallDisplayEventsFunction);
    }
  });
}

LRESULT CALLBACK CallWndHookProc(int code, WPARAM wParam, LPARAM lParam) {
  return Observe(displayHooks.callWnd, code, wParam, lParam, [&] {
    OnActivePage(reinterpret_cast<const CWPSTRUCT*>(lParam)->hwnd, [](Scriptable& object) {
      if (object.pulseDepth == 0 || ++object.nestedPulses < kMaxNesting) PulseRepaint(object);
    });
  });
}

}  // namespace

uint32_t DisplayEventCallback(DisplayEventRecord* record) {
  constexpr uint32_t kReportedBits = 3;
  if (!record || (record->eventStatus != 0 && record->eventStatus != 36)) return 0;
  if ((record->eventBits & kReportedBits) == 0) return 1;
  // Handles are 32 bits wide on every system.
  const auto window = reinterpret_cast<HWND>(static_cast<LONG_PTR>(static_cast<int32_t>(record->context)));
  PostMessageA(window, WM_DISPLAY_EVENT, 0, 0);
  return 1;
}

void InstallDisplayHooks() {
  displayHooks.Remove();
  const HINSTANCE module = OwnModule();
  displayHooks.mouse = SetWindowsHookExA(WH_MOUSE, MouseHookProc, module, 0);
  displayHooks.getMessage = SetWindowsHookExA(WH_GETMESSAGE, GetMessageHookProc, module, 0);
  displayHooks.callWnd = SetWindowsHookExA(WH_CALLWNDPROC, CallWndHookProc, nullptr, GetCurrentThreadId());
}

void ResetClickState() {
  pressedPage->reset();
}

void EndClick(Scriptable& object) {
  if (pressedPage->lock() == object.SharedLife()) ResetClickState();
  TryClearFlag(object.buttonMutex.Get(), &object.buttonHeld);
}

}  // namespace NorvoWebAPI::KSV
