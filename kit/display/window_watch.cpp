#include "kit/display/window_watch.h"

#include <map>
#include <mutex>

#include "base/never_destroyed.h"
#include "kit/display/window_handle.h"
#include "kit/shared/system.h"

namespace KsvDisplay {
namespace {

struct Watched {
  WindowListener listener;
  bool wantsFocus;
};

struct Watches {
  std::mutex mutex;
  std::multimap<HWND, std::shared_ptr<Watched>> byWindow;
};
NorvoWebAPI::NeverDestroyed<Watches> watches;

std::shared_ptr<Watched> Find(HWND window) {
  const std::scoped_lock lock(watches->mutex);
  const auto found = watches->byWindow.find(window);
  return found != watches->byWindow.end() ? found->second : nullptr;
}

std::optional<TypedKey> KeyOf(WPARAM code) {
  // Whatever the layout of the keyboard: on some the digits of the upper row need Shift.
  if (code >= '0' && code <= '9') return TypedKey{Key::Kind::kDigit, static_cast<uint8_t>(code)};
  if (code >= VK_NUMPAD0 && code <= VK_NUMPAD9) {
    return TypedKey{Key::Kind::kDigit, static_cast<uint8_t>('0' + code - VK_NUMPAD0)};
  }
  switch (code) {
    case VK_BACK:
      return TypedKey{Key::Kind::kDelete};
    case VK_DELETE:
      return TypedKey{Key::Kind::kClear};
    case VK_ESCAPE:
      return TypedKey{Key::Kind::kCancel};
    case VK_RETURN:
      return TypedKey{Key::Kind::kOk};
    default:
      return std::nullopt;
  }
}

bool IsHeld(int code) {
  return GetKeyState(code) < 0;
}

/// Whether the window must not get the message.
bool TakeKey(const WindowListener& listener, const MSG& message) {
  const std::optional<TypedKey> key = KeyOf(message.wParam);
  if (!key || IsHeld(VK_CONTROL) || IsHeld(VK_MENU)) return false;
  // The release of a key must not reach the page either.
  if (message.message == WM_KEYUP) return true;
  constexpr LPARAM kRepeated = LPARAM{1} << 30;
  // A key that is not down was posted by a program.
  if ((message.lParam & kRepeated) != 0 || !IsHeld(static_cast<int>(message.wParam))) return true;
  return listener.type(*key);
}

void Observe(MSG& message) {
  const std::shared_ptr<Watched> watched = Find(message.hwnd);
  if (!watched) return;
  const WindowListener& listener = watched->listener;
  if (message.message == WM_PAINT) listener.repaint();
  if (!listener.type) return;
  if (message.message == WM_LBUTTONDOWN) watched->wantsFocus = true;
  // A thread without the keyboard must not take it from another program.
  if (watched->wantsFocus && GetFocus() != nullptr) {
    watched->wantsFocus = false;
    SetFocus(message.hwnd);
  }
  if ((message.message == WM_KEYDOWN || message.message == WM_KEYUP) && TakeKey(listener, message)) {
    message.message = WM_NULL;
  }
}

LRESULT CALLBACK WatchMessages(int code, WPARAM removed, LPARAM lParam) {
  try {
    if (code == HC_ACTION && removed == PM_REMOVE && lParam != 0) Observe(*reinterpret_cast<MSG*>(lParam));
  } catch (...) {
    // No exception may cross into the system.
  }
  return CallNextHookEx(nullptr, code, removed, lParam);
}

/// One for each thread, however many of its windows are watched: else each message would be seen several times.
class ThreadHook {
 public:
  static std::shared_ptr<ThreadHook> Share(DWORD thread) {
    static NorvoWebAPI::NeverDestroyed<std::map<DWORD, std::weak_ptr<ThreadHook>>> hooks;
    static std::mutex mutex;
    const std::scoped_lock lock(mutex);
    std::erase_if(*hooks, [](const auto& entry) { return entry.second.expired(); });
    std::shared_ptr<ThreadHook> hook = (*hooks)[thread].lock();
    if (hook == nullptr) (*hooks)[thread] = hook = std::make_shared<ThreadHook>(thread);
    return hook;
  }

  explicit ThreadHook(DWORD thread) : hook_(SetWindowsHookExA(WH_GETMESSAGE, WatchMessages, nullptr, thread)) {
    // A host's hook that unloads this library may run within ours.
    static NorvoWebAPI::NeverDestroyed<System::ModulePin> pin;
  }
  ~ThreadHook() {
    if (hook_ != nullptr) UnhookWindowsHookEx(hook_);
  }
  ThreadHook(const ThreadHook&) = delete;
  ThreadHook& operator=(const ThreadHook&) = delete;

 private:
  HHOOK hook_;
};

class Registration {
 public:
  Registration(HWND window, const WindowListener& listener)
      : hook_(ThreadHook::Share(GetWindowThreadProcessId(window, nullptr))) {
    auto watched = std::make_shared<Watched>(Watched{listener, listener.type != nullptr});
    const std::scoped_lock lock(watches->mutex);
    at_ = watches->byWindow.emplace(window, std::move(watched));
  }
  ~Registration() {
    const std::scoped_lock lock(watches->mutex);
    watches->byWindow.erase(at_);
  }
  Registration(const Registration&) = delete;
  Registration& operator=(const Registration&) = delete;

 private:
  std::shared_ptr<ThreadHook> hook_;
  std::multimap<HWND, std::shared_ptr<Watched>>::iterator at_;
};

}  // namespace

WindowWatch::WindowWatch(uint32_t window, const WindowListener& listener)
    : held_(std::make_shared<Registration>(HandleOf(window), listener)) {}

}  // namespace KsvDisplay
