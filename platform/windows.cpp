#include <algorithm>

#include "platform/desktop.h"
#include "platform/desktop_system.h"
#include "platform/message_state.h"

using platform::ArmThreadEnd;
using platform::Fail;
using platform::FindShown;
using platform::FindWindowEntry;
using platform::InjectedError;
using platform::Messages;
using platform::MessageState;
using platform::Placement;
using platform::Queue;
using platform::Queued;
using platform::Screen;
using platform::ShownWindow;
using platform::Window;

namespace {

// Runs `work` on the window's entry, under the lock. Returns what it returns, or `none` for a window that is not there.
template <class Result, class Work>
Result OnEntry(HWND window, Result none, Work work) {
  MessageState& state = Messages();
  const std::lock_guard lock(state.mutex);
  Window* entry = FindWindowEntry(state, window);
  return entry ? work(state, *entry) : Fail(ERROR_INVALID_WINDOW_HANDLE, none);
}

// The same for the calling thread's own windows.
template <class Result, class Work>
Result OnOwnEntry(HWND window, Result none, Work work) {
  return OnEntry(window, none, [&](MessageState& state, Window& entry) {
    return entry.thread == GetCurrentThreadId() ? work(state, entry) : Fail(ERROR_ACCESS_DENIED, none);
  });
}

// The calling thread's connection to the display, made at the first use. Null if there is none.
std::shared_ptr<Screen> OwnScreen() {
  MessageState& state = Messages();
  const DWORD self = GetCurrentThreadId();
  {
    const std::lock_guard lock(state.mutex);
    if (const auto& screen = state.queues[self].screen) return screen;
  }
  std::shared_ptr<Screen> screen = platform::connectScreen ? platform::connectScreen() : nullptr;
  const std::lock_guard lock(state.mutex);
  state.queues[self].screen = screen;
  return screen;
}

BOOL Show(HWND window, bool activate) {
  const std::shared_ptr<Screen> screen = OwnScreen();
  if (!screen) return FALSE;
  Window before{};
  OnEntry(window, FALSE, [&](MessageState&, Window& entry) {
    before = entry;
    entry.isVisible = true;
    return TRUE;
  });
  ShownWindow shown{screen, before.onScreen};
  if (shown.number == 0) {
    shown.number = screen->Open(before.place);
    screen->SetTitle(shown.number, before.title);
    OnEntry(window, FALSE, [&](MessageState&, Window& entry) {
      entry.onScreen = shown.number;
      return TRUE;
    });
  }
  screen->Show(shown.number, activate, before.isTopmost);
  return before.isVisible ? TRUE : FALSE;
}

BOOL Hide(HWND window) {
  ShownWindow shown;
  const BOOL wasVisible = OnEntry(window, FALSE, [&](MessageState& state, Window& entry) {
    shown = FindShown(state, entry);
    return std::exchange(entry.isVisible, false) ? TRUE : FALSE;
  });
  if (shown) shown.screen->Hide(shown.number);
  return wasVisible;
}

}  // namespace

BOOL IsWindow(HWND window) {
  return OnEntry(window, FALSE, [](MessageState&, const Window&) { return TRUE; });
}

BOOL DestroyWindow(HWND window) {
  ShownWindow shown;
  const BOOL destroyed = OnOwnEntry(window, FALSE, [&](MessageState& state, Window& entry) {
    shown = FindShown(state, entry);
    Queue& queue = state.queues[entry.thread];
    std::erase_if(queue.messages, [window](const Queued& queued) { return queued.message.hwnd == window; });
    if (queue.focus == window) queue.focus = nullptr;
    state.windows.erase(static_cast<uint32_t>(reinterpret_cast<uintptr_t>(window)));
    return TRUE;
  });
  if (shown) shown.screen->Close(shown.number);
  return destroyed;
}

DWORD GetWindowThreadProcessId(HWND window, DWORD*) {
  return OnEntry(window, DWORD{0}, [](MessageState&, const Window& entry) { return entry.thread; });
}

BOOL ShowWindow(HWND window, int command) {
  switch (command) {
    case SW_HIDE:
    case SW_SHOWNORMAL:
    case SW_SHOW:
    case SW_SHOWNOACTIVATE:
    case SW_SHOWNA:
      break;
    default:
      return Fail(ERROR_CALL_NOT_IMPLEMENTED, FALSE);
  }
  const BOOL isOwn = OnOwnEntry(window, FALSE, [](MessageState&, const Window&) { return TRUE; });
  if (!isOwn) return FALSE;
  if (command == SW_HIDE) return Hide(window);
  return Show(window, command == SW_SHOWNORMAL || command == SW_SHOW);
}

BOOL IsWindowVisible(HWND window) {
  return OnEntry(window, FALSE, [](MessageState&, const Window& entry) { return entry.isVisible ? TRUE : FALSE; });
}

BOOL SetWindowPos(HWND window, HWND after, int x, int y, int width, int height, UINT flags) {
  constexpr UINT kKnown = SWP_NOSIZE | SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE | SWP_SHOWWINDOW | SWP_HIDEWINDOW;
  const bool isOrdered = (flags & SWP_NOZORDER) == 0;
  if ((flags & ~kKnown) != 0 || (isOrdered && after != HWND_TOP && after != HWND_TOPMOST && after != HWND_NOTOPMOST)) {
    return Fail(ERROR_CALL_NOT_IMPLEMENTED, FALSE);
  }
  ShownWindow shown;
  Placement place{};
  bool isTopmost = false;
  if (!OnEntry(window, FALSE, [&](MessageState& state, Window& entry) {
        if ((flags & SWP_NOMOVE) == 0) entry.place.origin = {x, y};
        if ((flags & SWP_NOSIZE) == 0) entry.place.size = {std::max(width, 0), std::max(height, 0)};
        if (isOrdered && after != HWND_TOP) entry.isTopmost = after == HWND_TOPMOST;
        shown = FindShown(state, entry);
        place = entry.place;
        isTopmost = entry.isTopmost;
        return TRUE;
      })) {
    return FALSE;
  }
  if (shown && (flags & (SWP_NOMOVE | SWP_NOSIZE)) != (SWP_NOMOVE | SWP_NOSIZE)) {
    shown.screen->Place(shown.number, place);
  }
  if (shown && isOrdered) shown.screen->Raise(shown.number, isTopmost);
  if ((flags & SWP_SHOWWINDOW) != 0) {
    ShowWindow(window, (flags & SWP_NOACTIVATE) != 0 ? SW_SHOWNA : SW_SHOW);
  } else if ((flags & SWP_HIDEWINDOW) != 0) {
    ShowWindow(window, SW_HIDE);
  }
  return TRUE;
}

BOOL SetWindowTextW(HWND window, LPCWSTR title) {
  const std::string text = platform::Narrow(title ? title : u"");
  ShownWindow shown;
  const BOOL set = OnEntry(window, FALSE, [&](MessageState& state, Window& entry) {
    entry.title = text;
    shown = FindShown(state, entry);
    return TRUE;
  });
  if (shown) shown.screen->SetTitle(shown.number, text);
  return set;
}

LONG_PTR SetWindowLongPtrW(HWND window, int index, LONG_PTR value) {
  if (index != GWLP_USERDATA) return Fail(ERROR_CALL_NOT_IMPLEMENTED, LONG_PTR{0});
  return OnEntry(window, LONG_PTR{0},
                 [value](MessageState&, Window& entry) { return std::exchange(entry.userData, value); });
}

LONG_PTR GetWindowLongPtrW(HWND window, int index) {
  if (index != GWLP_USERDATA) return Fail(ERROR_CALL_NOT_IMPLEMENTED, LONG_PTR{0});
  return OnEntry(window, LONG_PTR{0}, [](MessageState&, const Window& entry) { return entry.userData; });
}

BOOL GetWindowRect(HWND window, RECT* place) {
  return OnEntry(window, FALSE, [place](MessageState&, const Window& entry) {
    const auto& [origin, size] = entry.place;
    *place = {origin.x, origin.y, origin.x + size.x, origin.y + size.y};
    return TRUE;
  });
}

BOOL GetClientRect(HWND window, RECT* client) {
  return OnEntry(window, FALSE, [client](MessageState&, const Window& entry) {
    *client = {0, 0, entry.place.size.x, entry.place.size.y};
    return TRUE;
  });
}

BOOL ClientToScreen(HWND window, POINT* point) {
  return OnEntry(window, FALSE, [point](MessageState&, const Window& entry) {
    *point = {point->x + entry.place.origin.x, point->y + entry.place.origin.y};
    return TRUE;
  });
}

BOOL ScreenToClient(HWND window, POINT* point) {
  if (InjectedError("ScreenToClient")) return FALSE;
  return OnEntry(window, FALSE, [point](MessageState&, const Window& entry) {
    *point = {point->x - entry.place.origin.x, point->y - entry.place.origin.y};
    return TRUE;
  });
}

short GetKeyState(int key) {
  MessageState& state = Messages();
  const std::lock_guard lock(state.mutex);
  const auto& held = state.queues[GetCurrentThreadId()].heldKeys;
  return key >= 0 && static_cast<size_t>(key) < held.size() && held[static_cast<size_t>(key)] ? INT16_MIN : 0;
}

HWND GetFocus() {
  MessageState& state = Messages();
  const std::lock_guard lock(state.mutex);
  return state.queues[GetCurrentThreadId()].focus;
}

HWND SetFocus(HWND window) {
  const auto shown = OnOwnEntry(window, ShownWindow{}, FindShown);
  if (shown) shown.screen->Focus(shown.number);
  return nullptr;
}

namespace platform {

ConnectScreen connectScreen = nullptr;

Window* FindWindowEntry(MessageState& state, HWND window) {
  const auto value = reinterpret_cast<uintptr_t>(window);
  const auto found = value <= UINT32_MAX ? state.windows.find(static_cast<uint32_t>(value)) : state.windows.end();
  return found == state.windows.end() ? nullptr : &found->second;
}

ShownWindow FindShown(MessageState& state, const Window& entry) {
  return entry.onScreen == 0 ? ShownWindow{} : ShownWindow{state.queues[entry.thread].screen, entry.onScreen};
}

CopiedWindow CopyWindow(HWND window) {
  return OnEntry(window, CopiedWindow{}, [](MessageState& state, const Window& entry) {
    return CopiedWindow(std::pair(entry, FindShown(state, entry)));
  });
}

HWND MakeWindow(WNDPROC procedure, POINT clientOrigin, int width, int height, Frame) {
  ArmThreadEnd();
  MessageState& state = Messages();
  const std::lock_guard lock(state.mutex);
  state.lastWindow += 2;
  state.windows.emplace(state.lastWindow, Window{GetCurrentThreadId(), procedure, {clientOrigin, {width, height}}, {}});
  return HandleOf(state.lastWindow);
}

LRESULT CALLBACK DefaultProcedure(HWND window, UINT message, WPARAM, LPARAM) {
  if (message == WM_CLOSE) DestroyWindow(window);
  return 0;
}

}  // namespace platform
