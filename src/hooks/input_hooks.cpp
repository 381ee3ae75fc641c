#include "hooks/input_hooks.h"

#include <memory>
#include <vector>

#include "base/own_module.h"
#include "base/scope_exit.h"
#include "page/flag_mutex.h"
#include "page/plugin_windows.h"

namespace NorvoWebAPI::KSV {
namespace {

// `clickState` 2, that is a press that waits for its release, as long as the page that was told of it lives; else 1.
// The browser's thread only.
std::weak_ptr<PageLife> pressedPage;

bool AwaitsRelease() {
  const std::shared_ptr<PageLife> page = pressedPage.lock();
  return page && !page->HasEnded();
}

// A library or a page that answers a message by sending one to its window would never come to an end: hooks may be
// nested this deep, and the messages sent during a pulse cause fewer pulses than this.
constexpr uint32_t kMaxNesting = 16;

// Runs `work` on the page of a window. A page function that ends the page leaves the object alive until `work` is done.
template <typename Work>
void OnPage(HWND window, Work work) {
  const std::shared_ptr<Scriptable> page = FindPageByWindow(window);
  if (!page) return;
  ++page->hookDepth;
  const ScopeExit leave([&] { --page->hookDepth; });
  if (page->hookDepth <= kMaxNesting) work(*page);
}

// The same, but only where an image stands.
template <typename Work>
void OnActivePage(HWND window, Work work) {
  OnPage(window, [&](Scriptable& page) {
    if (IsWindow(page.Life().window) && page.displayActive == 1) work(page);
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

// The copy keeps the function alive: the page may replace it from inside the call.
void CallBack(DisplayState::Callback callback, std::vector<JSObject> args) {
  JSObject ignored;
  callback->Call(args, ignored);
}

std::vector<JSObject> Position(POINT point) {
  std::vector<JSObject> args(1);
  args[0]["XCode"] = JSObject(int32_t{point.x});
  args[0]["YCode"] = JSObject(int32_t{point.y});
  return args;
}

void OnPress(Scriptable& page, POINT point) {
  if (AwaitsRelease() || !page.mouseDownCallback || !page.Display().HasImage()) return;
  pressedPage = page.SharedLife();
  CallBack(page.mouseDownCallback, Position(point));
}

void OnRelease(Scriptable& page, POINT point) {
  if (!AwaitsRelease() || !page.mouseUpCallback || !page.Display().HasImage()) return;
  ++page.buttonUpCount;
  ResetClickState();
  CallBack(page.mouseUpCallback, Position(point));
}

LRESULT CALLBACK MouseHookProc(int code, WPARAM message, LPARAM lParam) {
  return Observe(displayHooks.mouse, code, message, lParam, [&] {
    if (message != WM_LBUTTONDOWN && message != WM_LBUTTONUP) return;
    const auto& info = *reinterpret_cast<const MOUSEHOOKSTRUCT*>(lParam);
    OnActivePage(info.hwnd, [&](Scriptable& page) {
      const bool press = message == WM_LBUTTONDOWN;
      const auto turnFlag = press ? TrySetFlag : TryClearFlag;
      if (!turnFlag(page.buttonMutex.Get(), &page.buttonHeld)) return;
      POINT point = info.pt;
      ScreenToClient(page.Life().window, &point);
      // 0 lies within every image, also one without a size.
      if (point.x != 0 && point.x >= page.imageWidth) return;
      if (point.y != 0 && point.y >= page.imageHeight) return;
      (press ? OnPress : OnRelease)(page, point);
    });
  });
}

void PulseRepaint(Scriptable& page) {
  ++page.pulseDepth;
  const ScopeExit leave([&] {
    if (--page.pulseDepth == 0) page.nestedPulses = 0;
  });
  if (page.repaintImageCallback) {
    CallBack(page.repaintImageCallback, {});
    return;
  }
  if (!FlagIsClear(page.buttonMutex.Get(), page.buttonHeld)) return;
  TrySetFlag(page.repaintMutex.Get(), &page.repaintBusy);
  page.Display().RepaintImage(page.sessionId, page.imageId);
  TryClearFlag(page.repaintMutex.Get(), &page.repaintBusy);
}

void TellDisplayEvent(Scriptable& page) {
  if (!page.displayEventsCallback) return;
  std::vector<JSObject> args(1);
  args[0]["callback"] = JSObject(0);
  CallBack(page.displayEventsCallback, std::move(args));
}

LRESULT CALLBACK GetMessageHookProc(int code, WPARAM wParam, LPARAM lParam) {
  return Observe(displayHooks.getMessage, code, wParam, lParam, [&] {
    const auto& message = *reinterpret_cast<const MSG*>(lParam);
    if (message.message != WM_DISPLAY_EVENT) {
      OnActivePage(message.hwnd, PulseRepaint);
    } else if ((wParam & PM_REMOVE) != 0) {
      // The host may look at a message several times before it takes it from the queue: one event is told once.
      OnPage(message.hwnd, TellDisplayEvent);
    }
  });
}

LRESULT CALLBACK CallWndHookProc(int code, WPARAM wParam, LPARAM lParam) {
  return Observe(displayHooks.callWnd, code, wParam, lParam, [&] {
    OnActivePage(reinterpret_cast<const CWPSTRUCT*>(lParam)->hwnd, [](Scriptable& page) {
      if (page.pulseDepth == 0 || ++page.nestedPulses < kMaxNesting) PulseRepaint(page);
    });
  });
}

}  // namespace

uint32_t DisplayEventCallback(DisplayEventRecord* record) {
  constexpr uint32_t kTellingBits = 3;
  if (!record || (record->eventStatus != 0 && record->eventStatus != 36)) return 0;
  if ((record->eventBits & kTellingBits) == 0) return 1;
  // Handles are 32 bits wide on every system. The test keeps out the number that would address all windows.
  const auto window = reinterpret_cast<HWND>(static_cast<LONG_PTR>(static_cast<int32_t>(record->context)));
  if (IsWindow(window)) PostMessageA(window, WM_DISPLAY_EVENT, 0, 0);
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
  pressedPage.reset();
}

void EndClick(Scriptable& page) {
  if (pressedPage.lock() == page.SharedLife()) ResetClickState();
  TryClearFlag(page.buttonMutex.Get(), &page.buttonHeld);
}

}  // namespace NorvoWebAPI::KSV
