#include <algorithm>
#include <chrono>
#include <limits>

#include "platform/desktop.h"
#include "platform/message_state.h"

using platform::ArmThreadEnd;
using platform::Enqueue;
using platform::Fail;
using platform::FindWindowEntry;
using platform::Hook;
using platform::HookNumber;
using platform::InjectedError;
using platform::Messages;
using platform::MessageState;
using platform::Queue;
using platform::Queued;
using platform::Window;

namespace {

constexpr size_t kMostQueued = 10'000;

// Hooks are numbered as they are made, those of one thread above all others. The chain runs from the newest to the
// oldest of each, so it goes down the numbers, also when a procedure adds or removes hooks.
constexpr HookNumber kFirstOfThreads = std::numeric_limits<HookNumber>::max() / 2 + 1;

// Removes a thread's windows, queue and hooks when the thread ends.
class ThreadEnd {
 public:
  ThreadEnd() : thread(GetCurrentThreadId()) {}
  ~ThreadEnd() {
    MessageState& state = Messages();
    const std::lock_guard lock(state.mutex);
    std::erase_if(state.windows, [this](const auto& entry) { return entry.second.thread == thread; });
    std::erase_if(state.hooks,
                  [this](const auto& entry) { return entry.second.owner == thread || entry.second.thread == thread; });
    // With the connection to a screen, which closes the windows there.
    state.queues.erase(thread);
  }
  ThreadEnd(const ThreadEnd&) = delete;
  ThreadEnd& operator=(const ThreadEnd&) = delete;

 private:
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
    MessageState& state = Messages();
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

bool Matches(const MSG& message, HWND window, UINT first, UINT last) {
  if (window && message.hwnd != window) return false;
  return (first == 0 && last == 0) || (message.message >= first && message.message <= last);
}

void RemoveNumber(Queue& queue, uint64_t number) {
  std::erase_if(queue.messages, [number](const Queued& queued) { return queued.number == number; });
}

// What the keyboard is after a message that came from it.
void NoteKey(Queue& queue, const Queued& taken) {
  if (!taken.key) return;
  queue.heldKeys[taken.key->code] = taken.message.message == WM_KEYDOWN;
  queue.heldKeys[VK_CONTROL] = taken.key->control;
  queue.heldKeys[VK_MENU] = taken.key->alt;
}

// Takes the calling thread's next matching message and runs the hooks on it. Returns false if there is none.
bool TakeMessage(MSG* message, HWND window, UINT first, UINT last, UINT remove) {
  MessageState& state = Messages();
  const DWORD self = GetCurrentThreadId();
  while (true) {
    std::unique_lock lock(state.mutex);
    Queue& queue = state.queues[self];
    const auto found = std::find_if(queue.messages.begin(), queue.messages.end(),
                                    [&](const Queued& queued) { return Matches(queued.message, window, first, last); });
    if (found == queue.messages.end()) return false;
    const Queued taken = *found;
    if ((remove & PM_REMOVE) != 0) {
      NoteKey(queue, taken);
      queue.messages.erase(found);
    }
    lock.unlock();

    *message = taken.message;
    if (taken.fromMouse) {
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
  ArmThreadEnd();
  MessageState& state = Messages();
  const std::lock_guard lock(state.mutex);
  const HookNumber number = ++state.lastHook + (thread != 0 ? kFirstOfThreads : 0);
  state.hooks.emplace(number, Hook{type, procedure, thread, GetCurrentThreadId()});
  return reinterpret_cast<HHOOK>(number);
}

BOOL UnhookWindowsHookEx(HHOOK hook) {
  MessageState& state = Messages();
  const std::lock_guard lock(state.mutex);
  if (state.hooks.erase(reinterpret_cast<HookNumber>(hook)) == 0) return Fail(ERROR_INVALID_HOOK_HANDLE, FALSE);
  return TRUE;
}

LRESULT CallNextHookEx(HHOOK, int code, WPARAM wParam, LPARAM lParam) {
  return currentFrame ? CallHookBelow(*currentFrame, code, wParam, lParam) : 0;
}

BOOL PostMessageA(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  if (InjectedError("PostMessageA")) return FALSE;
  MessageState& state = Messages();
  const std::lock_guard lock(state.mutex);
  const Window* entry = FindWindowEntry(state, window);
  if (!entry) return Fail(ERROR_INVALID_WINDOW_HANDLE, FALSE);
  if (state.queues[entry->thread].messages.size() >= kMostQueued) return Fail(ERROR_NOT_ENOUGH_QUOTA, FALSE);
  Enqueue(state, entry->thread, MSG{window, message, wParam, lParam, 0, {0, 0}});
  return TRUE;
}

LRESULT SendMessageA(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  WNDPROC procedure = nullptr;
  {
    MessageState& state = Messages();
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
  ArmThreadEnd();
  platform::ReadScreen();
  return TakeMessage(message, window, first, last, remove) ? TRUE : FALSE;
}

LRESULT DispatchMessageA(const MSG* message) {
  WNDPROC procedure = nullptr;
  {
    MessageState& state = Messages();
    const std::lock_guard lock(state.mutex);
    if (const Window* entry = FindWindowEntry(state, message->hwnd)) procedure = entry->procedure;
  }
  return procedure ? procedure(message->hwnd, message->message, message->wParam, message->lParam) : 0;
}

namespace platform {

MessageState& Messages() {
  static NeverDestroyed<MessageState> state;
  return *state;
}

void ArmThreadEnd() {
  thread_local const ThreadEnd end;
}

void Enqueue(MessageState& state, DWORD thread, const MSG& message, bool fromMouse, std::optional<KeyInput> key) {
  Queue& queue = state.queues[thread];
  queue.messages.push_back({message, ++state.lastMessage, fromMouse, key});
  queue.arrived.notify_all();
  if (queue.screen) queue.screen->Wake();
}

bool WaitForQueuedMessage(DWORD milliseconds) {
  ArmThreadEnd();
  using std::chrono::steady_clock;
  const auto end = steady_clock::now() + std::chrono::milliseconds(milliseconds);
  MessageState& state = Messages();
  while (true) {
    ReadScreen();
    std::unique_lock lock(state.mutex);
    Queue& queue = state.queues[GetCurrentThreadId()];
    const auto hasMessage = [&queue] { return !queue.messages.empty(); };
    const std::shared_ptr<Screen> screen = queue.screen;
    if (!screen) return queue.arrived.wait_until(lock, end, hasMessage);
    if (hasMessage()) return true;
    lock.unlock();
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - steady_clock::now()).count();
    if (left <= 0) return false;
    screen->Wait(static_cast<int>(std::min<int64_t>(left, std::numeric_limits<int>::max())));
  }
}

}  // namespace platform
