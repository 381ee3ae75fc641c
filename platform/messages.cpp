#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <limits>

#include "platform/desktop.h"
#include "platform/desktop_system.h"
#include "platform/internal.h"

using platform::Fail;
using platform::InjectedError;

namespace {

constexpr size_t kMostQueued = 10'000;
constexpr uint32_t kFirstWindow = 0x10010;

struct Window {
  DWORD thread;
  WNDPROC procedure;
  POINT clientOrigin;
  POINT clientSize;
  bool isVisible;
  std::u16string text;
};

struct Queued {
  MSG message;
  bool fromUser;    // Only these pass the mouse hooks.
  uint64_t number;  // Finds the message again after a hook procedure has run.
};

struct Queue {
  std::deque<Queued> messages;
  std::condition_variable arrived;
};

struct Hook {
  int type;
  HOOKPROC procedure;
  DWORD thread;  // 0: all.
  DWORD owner;
};

// Hooks are numbered as they are made, those of one thread above all others. The chain runs from the newest to the
// oldest of each, so it goes down the numbers, also when a procedure adds or removes hooks.
using HookNumber = uintptr_t;
constexpr HookNumber kFirstOfThreads = std::numeric_limits<HookNumber>::max() / 2 + 1;

struct State {
  std::mutex mutex;  // Never held while a procedure runs.
  std::map<uint32_t, Window> windows;
  std::map<DWORD, Queue> queues;
  std::map<HookNumber, Hook> hooks;
  uint32_t lastWindow = kFirstWindow;
  HookNumber lastHook = 0;
  uint64_t lastMessage = 0;
};

State& Messages() {
  static platform::NeverDestroyed<State> state;
  return *state;
}

// Removes a thread's windows, queue and hooks when the thread ends.
class ThreadEnd {
 public:
  // Has to be called before the thread owns any of these.
  static void Arm() { thread_local const ThreadEnd end; }

 private:
  ThreadEnd() : thread(GetCurrentThreadId()) {}
  ~ThreadEnd() {
    State& state = Messages();
    const std::lock_guard lock(state.mutex);
    std::erase_if(state.windows, [this](const auto& entry) { return entry.second.thread == thread; });
    std::erase_if(state.hooks,
                  [this](const auto& entry) { return entry.second.owner == thread || entry.second.thread == thread; });
    state.queues.erase(thread);
  }

  DWORD thread;
};

// The hook procedure that a thread runs. The next in its chain has the same type and a number below this one.
struct HookFrame {
  int type;
  HookNumber number;
};
thread_local const HookFrame* currentFrame = nullptr;

class FrameScope {
 public:
  explicit FrameScope(const HookFrame& frame) : outer(currentFrame) { currentFrame = &frame; }
  ~FrameScope() { currentFrame = outer; }
  FrameScope(const FrameScope&) = delete;
  FrameScope& operator=(const FrameScope&) = delete;

 private:
  const HookFrame* outer;
};

LRESULT CallHookBelow(HookFrame frame, int code, WPARAM wParam, LPARAM lParam) {
  HOOKPROC procedure = nullptr;
  {
    const DWORD self = GetCurrentThreadId();
    State& state = Messages();
    const std::lock_guard lock(state.mutex);
    for (auto at = state.hooks.lower_bound(frame.number); at != state.hooks.begin();) {
      const auto& [number, hook] = *--at;
      if (hook.type != frame.type || (hook.thread != 0 && hook.thread != self)) continue;
      procedure = hook.procedure;
      frame.number = number;
      break;
    }
  }
  if (!procedure) return 0;
  const FrameScope scope(frame);
  return procedure(code, wParam, lParam);
}

LRESULT RunHooks(int type, int code, WPARAM wParam, LPARAM lParam) {
  return CallHookBelow({type, std::numeric_limits<HookNumber>::max()}, code, wParam, lParam);
}

// The window's entry, or null. The caller holds the lock.
Window* FindWindowEntry(State& state, HWND window) {
  const auto value = reinterpret_cast<uintptr_t>(window);
  const auto found = value <= UINT32_MAX ? state.windows.find(static_cast<uint32_t>(value)) : state.windows.end();
  return found == state.windows.end() ? nullptr : &found->second;
}

// Runs `work` on the window's entry, under the lock.
template <typename Work>
BOOL OnWindow(HWND window, Work work) {
  State& state = Messages();
  const std::lock_guard lock(state.mutex);
  Window* const entry = FindWindowEntry(state, window);
  if (!entry) return Fail(ERROR_INVALID_WINDOW_HANDLE, FALSE);
  work(*entry);
  return TRUE;
}

// The caller holds the lock.
void Enqueue(State& state, DWORD thread, const MSG& message, bool fromUser) {
  Queue& queue = state.queues[thread];
  queue.messages.push_back({message, fromUser, ++state.lastMessage});
  queue.arrived.notify_all();
}

bool Matches(const MSG& message, HWND window, UINT first, UINT last) {
  if (window && message.hwnd != window) return false;
  return (first == 0 && last == 0) || (message.message >= first && message.message <= last);
}

void RemoveNumber(Queue& queue, uint64_t number) {
  std::erase_if(queue.messages, [number](const Queued& queued) { return queued.number == number; });
}

// Takes the calling thread's next matching message and runs the hooks on it. Returns false if there is none.
bool TakeMessage(MSG* message, HWND window, UINT first, UINT last, UINT remove) {
  State& state = Messages();
  const DWORD self = GetCurrentThreadId();
  while (true) {
    std::unique_lock lock(state.mutex);
    Queue& queue = state.queues[self];
    const auto found = std::find_if(queue.messages.begin(), queue.messages.end(),
                                    [&](const Queued& queued) { return Matches(queued.message, window, first, last); });
    if (found == queue.messages.end()) return false;
    const Queued taken = *found;
    if ((remove & PM_REMOVE) != 0) queue.messages.erase(found);
    lock.unlock();

    *message = taken.message;
    if (taken.fromUser) {
      MOUSEHOOKSTRUCT mouse{message->pt, message->hwnd, 0, 0};
      if (RunHooks(WH_MOUSE, (remove & PM_REMOVE) != 0 ? HC_ACTION : HC_NOREMOVE, message->message,
                   reinterpret_cast<LPARAM>(&mouse)) != 0) {
        lock.lock();
        RemoveNumber(queue, taken.number);
        continue;
      }
    }
    RunHooks(WH_GETMESSAGE, HC_ACTION, remove, reinterpret_cast<LPARAM>(message));
    return true;
  }
}

}  // namespace

HHOOK SetWindowsHookExA(int type, HOOKPROC procedure, HINSTANCE module, DWORD thread) {
  if (InjectedError("SetWindowsHookExA")) return nullptr;
  const bool isKnownType = type == WH_GETMESSAGE || type == WH_CALLWNDPROC || type == WH_MOUSE;
  if (!isKnownType || !procedure || (thread == 0 && !module)) return Fail<HHOOK>(ERROR_INVALID_PARAMETER, nullptr);
  ThreadEnd::Arm();
  State& state = Messages();
  const std::lock_guard lock(state.mutex);
  const HookNumber number = ++state.lastHook + (thread != 0 ? kFirstOfThreads : 0);
  state.hooks.emplace(number, Hook{type, procedure, thread, GetCurrentThreadId()});
  return reinterpret_cast<HHOOK>(number);
}

BOOL UnhookWindowsHookEx(HHOOK hook) {
  State& state = Messages();
  const std::lock_guard lock(state.mutex);
  if (state.hooks.erase(reinterpret_cast<HookNumber>(hook)) == 0) return Fail(ERROR_INVALID_HOOK_HANDLE, FALSE);
  return TRUE;
}

LRESULT CallNextHookEx(HHOOK, int code, WPARAM wParam, LPARAM lParam) {
  return currentFrame ? CallHookBelow(*currentFrame, code, wParam, lParam) : 0;
}

BOOL IsWindow(HWND window) {
  State& state = Messages();
  const std::lock_guard lock(state.mutex);
  return FindWindowEntry(state, window) ? TRUE : FALSE;
}

BOOL DestroyWindow(HWND window) {
  State& state = Messages();
  const std::lock_guard lock(state.mutex);
  const Window* entry = FindWindowEntry(state, window);
  if (!entry) return Fail(ERROR_INVALID_WINDOW_HANDLE, FALSE);
  if (entry->thread != GetCurrentThreadId()) return Fail(ERROR_ACCESS_DENIED, FALSE);
  std::erase_if(state.queues[entry->thread].messages,
                [window](const Queued& queued) { return queued.message.hwnd == window; });
  state.windows.erase(static_cast<uint32_t>(reinterpret_cast<uintptr_t>(window)));
  return TRUE;
}

DWORD GetWindowThreadProcessId(HWND window, DWORD*) {
  State& state = Messages();
  const std::lock_guard lock(state.mutex);
  const Window* entry = FindWindowEntry(state, window);
  return entry ? entry->thread : Fail(ERROR_INVALID_WINDOW_HANDLE, DWORD{0});
}

BOOL GetClientRect(HWND window, RECT* client) {
  State& state = Messages();
  const std::lock_guard lock(state.mutex);
  const Window* entry = FindWindowEntry(state, window);
  if (!entry) return Fail(ERROR_INVALID_WINDOW_HANDLE, FALSE);
  *client = {0, 0, entry->clientSize.x, entry->clientSize.y};
  return TRUE;
}

BOOL ScreenToClient(HWND window, POINT* point) {
  if (InjectedError("ScreenToClient")) return FALSE;
  State& state = Messages();
  const std::lock_guard lock(state.mutex);
  const Window* entry = FindWindowEntry(state, window);
  if (!entry) return Fail(ERROR_INVALID_WINDOW_HANDLE, FALSE);
  point->x -= entry->clientOrigin.x;
  point->y -= entry->clientOrigin.y;
  return TRUE;
}

BOOL ClientToScreen(HWND window, POINT* point) {
  return OnWindow(window, [point](const Window& entry) {
    point->x += entry.clientOrigin.x;
    point->y += entry.clientOrigin.y;
  });
}

BOOL GetWindowRect(HWND window, RECT* outside) {
  return OnWindow(window, [outside](const Window& entry) {
    const auto [x, y] = entry.clientOrigin;
    *outside = {x, y, x + entry.clientSize.x, y + entry.clientSize.y};
  });
}

BOOL SetWindowPos(HWND window, HWND, int x, int y, int width, int height, UINT flags) {
  return OnWindow(window, [=](Window& entry) {
    entry.clientOrigin = {x, y};
    entry.clientSize = {width, height};
    if ((flags & SWP_SHOWWINDOW) != 0) entry.isVisible = true;
    if ((flags & SWP_HIDEWINDOW) != 0) entry.isVisible = false;
  });
}

BOOL IsWindowVisible(HWND window) {
  BOOL isVisible = FALSE;
  OnWindow(window, [&](const Window& entry) { isVisible = entry.isVisible ? TRUE : FALSE; });
  return isVisible;
}

BOOL SetWindowTextW(HWND window, LPCWSTR text) {
  return OnWindow(window, [text](Window& entry) { entry.text = text; });
}

int GetWindowTextW(HWND window, WCHAR* text, int capacity) {
  size_t length = 0;
  OnWindow(window, [&](const Window& entry) {
    length = entry.text.copy(text, static_cast<size_t>(capacity) - 1);
    text[length] = 0;
  });
  return static_cast<int>(length);
}

BOOL PostMessageA(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (InjectedError("PostMessageA")) return FALSE;
  State& state = Messages();
  const std::lock_guard lock(state.mutex);
  const Window* entry = FindWindowEntry(state, window);
  if (!entry) return Fail(ERROR_INVALID_WINDOW_HANDLE, FALSE);
  if (state.queues[entry->thread].messages.size() >= kMostQueued) return Fail(ERROR_NOT_ENOUGH_QUOTA, FALSE);
  Enqueue(state, entry->thread, MSG{window, message, wParam, lParam, 0, {0, 0}}, false);
  return TRUE;
}

LRESULT SendMessageA(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  WNDPROC procedure = nullptr;
  {
    State& state = Messages();
    const std::lock_guard lock(state.mutex);
    const Window* entry = FindWindowEntry(state, window);
    if (!entry) return Fail(ERROR_INVALID_WINDOW_HANDLE, LRESULT{0});
    if (entry->thread != GetCurrentThreadId()) return Fail(ERROR_CALL_NOT_IMPLEMENTED, LRESULT{0});
    procedure = entry->procedure;
  }
  CWPSTRUCT sent{lParam, wParam, message, window};
  RunHooks(WH_CALLWNDPROC, HC_ACTION, TRUE, reinterpret_cast<LPARAM>(&sent));
  return procedure(window, message, wParam, lParam);
}

BOOL PeekMessageA(MSG* message, HWND window, UINT first, UINT last, UINT remove) {
  ThreadEnd::Arm();
  return TakeMessage(message, window, first, last, remove) ? TRUE : FALSE;
}

LRESULT DispatchMessageA(const MSG* message) {
  WNDPROC procedure = nullptr;
  {
    State& state = Messages();
    const std::lock_guard lock(state.mutex);
    if (const Window* entry = FindWindowEntry(state, message->hwnd)) procedure = entry->procedure;
  }
  return procedure ? procedure(message->hwnd, message->message, message->wParam, message->lParam) : 0;
}

namespace platform {

HWND MakeWindow(WNDPROC procedure, POINT clientOrigin, int width, int height, Frame) {
  ThreadEnd::Arm();
  State& state = Messages();
  const std::lock_guard lock(state.mutex);
  state.lastWindow += 2;
  const Window made{GetCurrentThreadId(), procedure, clientOrigin, {width, height}, false, {}};
  state.windows.emplace(state.lastWindow, made);
  return reinterpret_cast<HWND>(static_cast<uintptr_t>(state.lastWindow));
}

LRESULT CALLBACK DefaultProcedure(HWND, UINT, WPARAM, LPARAM) {
  return 0;
}

void MakeMouseInput(HWND window, UINT message, POINT client) {
  State& state = Messages();
  const std::lock_guard lock(state.mutex);
  const Window* entry = FindWindowEntry(state, window);
  if (!entry) return;
  const POINT screen{client.x + entry->clientOrigin.x, client.y + entry->clientOrigin.y};
  const auto packed =
      static_cast<LPARAM>((static_cast<uint32_t>(client.y) << 16) | (static_cast<uint32_t>(client.x) & 0xFFFFu));
  Enqueue(state, entry->thread, MSG{window, message, 0, packed, 0, screen}, true);
}

bool WaitForQueuedMessage(DWORD milliseconds) {
  ThreadEnd::Arm();
  State& state = Messages();
  std::unique_lock lock(state.mutex);
  Queue& queue = state.queues[GetCurrentThreadId()];
  return queue.arrived.wait_for(lock, std::chrono::milliseconds(milliseconds),
                                [&queue] { return !queue.messages.empty(); });
}

}  // namespace platform
