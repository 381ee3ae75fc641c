#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "platform/desktop.h"
#include "platform/desktop_system.h"
#include "platform/never_destroyed.h"

namespace platform {
namespace {

constexpr const char* kWindowClass = "KsvWindow";
constexpr DWORD kDebugText = 0x40010006;  // The exception that OutputDebugStringA raises for a debugger.

using Listener = std::function<void(const char*)>;

struct Listeners {
  std::mutex mutex;
  std::map<int, std::shared_ptr<Listener>> byNumber;
  int lastNumber = 0;
  void* handler = nullptr;
};

Listeners& DebugListeners() {
  static NeverDestroyed<Listeners> listeners;
  return *listeners;
}

// Acts as the debugger. The exception's parameters are the text's length with its terminator, and the text.
LONG CALLBACK TakeDebugText(EXCEPTION_POINTERS* exception) {
  const EXCEPTION_RECORD& record = *exception->ExceptionRecord;
  if (record.ExceptionCode != kDebugText || record.NumberParameters < 2) return EXCEPTION_CONTINUE_SEARCH;
  const std::string text(reinterpret_cast<const char*>(record.ExceptionInformation[1]));
  std::unique_lock lock(DebugListeners().mutex);
  const auto called = DebugListeners().byNumber;
  lock.unlock();
  for (const auto& [number, listener] : called) (*listener)(text.c_str());
  return EXCEPTION_CONTINUE_EXECUTION;
}

// The procedure of a window with a caption, before its own.
LRESULT CALLBACK RunCaptioned(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_MOUSEACTIVATE:
      return MA_NOACTIVATE;
    case WM_NCLBUTTONDOWN:  // The system would take all messages until the user has moved it.
      return 0;
    case WM_NCACTIVATE:  // It is never the active window, but its caption must be as easy to read.
      wParam = TRUE;
      break;
    default:
      break;
  }
  const auto own = reinterpret_cast<WNDPROC>(GetWindowLongPtrA(window, GWLP_USERDATA));
  return (own ? own : DefWindowProcA)(window, message, wParam, lParam);
}

}  // namespace

HWND MakeWindow(WNDPROC procedure, POINT clientOrigin, int width, int height, Frame frame) {
  WNDCLASSA description{};
  description.lpfnWndProc = DefWindowProcA;
  description.hInstance = GetModuleHandleA(nullptr);
  description.hCursor = LoadCursorA(nullptr, reinterpret_cast<LPCSTR>(IDC_ARROW));
  description.lpszClassName = kWindowClass;
  RegisterClassA(&description);  // Fails for the second window, whose class is there already.
  const bool hasCaption = frame == Frame::Caption;
  const DWORD style = WS_POPUP | (hasCaption ? WS_CAPTION : 0);
  const DWORD more = WS_EX_TOPMOST | WS_EX_TOOLWINDOW | (hasCaption ? WS_EX_NOACTIVATE : 0);
  RECT outside{clientOrigin.x, clientOrigin.y, clientOrigin.x + width, clientOrigin.y + height};
  AdjustWindowRectEx(&outside, style, FALSE, more);
  const HWND window =
      CreateWindowExA(more, kWindowClass, "", style, outside.left, outside.top, outside.right - outside.left,
                      outside.bottom - outside.top, nullptr, nullptr, description.hInstance, nullptr);
  if (!window) return nullptr;
  // The class is that of all windows made here, whatever their procedures.
  SetWindowLongPtrA(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(hasCaption ? RunCaptioned : procedure));
  if (hasCaption) {
    SetWindowLongPtrA(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(procedure));  // RunCaptioned calls it.
    SendMessageA(window, WM_NCACTIVATE, TRUE, 0);
  }
  return window;
}

void MakeMouseInput(HWND window, UINT message, POINT client) {
  if (!IsWindowVisible(window)) {
    ShowWindow(window, SW_SHOWNOACTIVATE);
    // The display needs a moment of message handling before clicks at this place find the window.
    PumpUntil([] { return false; }, std::chrono::milliseconds(500));
  }
  ClientToScreen(window, &client);
  SetCursorPos(client.x, client.y);
  mouse_event(message == WM_LBUTTONDOWN ? MOUSEEVENTF_LEFTDOWN : MOUSEEVENTF_LEFTUP, 0, 0, 0, 0);
}

LRESULT CALLBACK DefaultProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  const auto byDefault = IsWindowUnicode(window) ? DefWindowProcW : DefWindowProcA;
  return byDefault(window, message, wParam, lParam);
}

bool WaitForQueuedMessage(DWORD milliseconds) {
  return MsgWaitForMultipleObjects(0, nullptr, FALSE, milliseconds, QS_ALLINPUT) == WAIT_OBJECT_0;
}

int AddDebugListener(std::function<void(const char*)> listener) {
  Listeners& listeners = DebugListeners();
  const std::lock_guard lock(listeners.mutex);
  if (!listeners.handler) listeners.handler = AddVectoredExceptionHandler(TRUE, &TakeDebugText);
  listeners.byNumber.emplace(++listeners.lastNumber, std::make_shared<Listener>(std::move(listener)));
  return listeners.lastNumber;
}

void RemoveDebugListener(int listener) {
  Listeners& listeners = DebugListeners();
  const std::lock_guard lock(listeners.mutex);
  listeners.byNumber.erase(listener);
  if (!listeners.byNumber.empty()) return;
  RemoveVectoredExceptionHandler(listeners.handler);
  listeners.handler = nullptr;
}

}  // namespace platform
