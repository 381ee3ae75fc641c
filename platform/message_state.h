/// Windows, queues and hooks, as messages.cpp, windows.cpp and device_contexts.cpp share them.
#pragma once

#include <array>
#include <condition_variable>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "platform/internal.h"
#include "platform/screen.h"

namespace platform {

struct Window {
  DWORD thread;
  WNDPROC procedure;
  Placement place;
  std::string title;
  LONG_PTR userData = 0;
  /// On the screen of its thread; 0 until it is shown for the first time.
  uint32_t onScreen = 0;
  bool isVisible = false;
  bool isTopmost = false;
  bool isCovered = false;
};

struct Queued {
  MSG message;
  uint64_t number;  // Finds the message again after a hook procedure has run.
  bool fromMouse;   // Only these pass the mouse hooks.
  std::optional<KeyInput> key;
};

struct Queue {
  std::deque<Queued> messages;
  std::condition_variable arrived;
  /// Null until the thread shows a window. Then it is what the thread waits for.
  std::shared_ptr<Screen> screen;
  HWND focus = nullptr;
  std::array<bool, 256> heldKeys{};
};

struct Hook {
  int type;
  HOOKPROC procedure;
  DWORD thread;  // 0: all.
  DWORD owner;
};

using HookNumber = uintptr_t;

struct MessageState {
  std::mutex mutex;  // Never held while a procedure runs, or while the display is called.
  std::map<uint32_t, Window> windows;
  std::map<DWORD, Queue> queues;
  std::map<HookNumber, Hook> hooks;
  uint32_t lastWindow = 0x10010;
  HookNumber lastHook = 0;
  uint64_t lastMessage = 0;
};

MessageState& Messages();

/// The window's entry, or null. The caller holds the lock.
Window* FindWindowEntry(MessageState& state, HWND window);

/// The caller holds the lock.
void Enqueue(MessageState& state, DWORD thread, const MSG& message, bool fromMouse = false,
             std::optional<KeyInput> key = std::nullopt);

/// Has the calling thread's windows, queue and hooks removed when it ends. To be called before it owns any of these.
void ArmThreadEnd();

/// Reads what has happened on the calling thread's screen, if it has one.
void ReadScreen();

/// A window that has been on a screen, and that screen, held: both are valid without the lock.
struct ShownWindow {
  std::shared_ptr<Screen> screen;
  uint32_t number = 0;

  explicit operator bool() const { return screen != nullptr; }
};

/// The window of a number.
inline HWND HandleOf(uint32_t number) {
  return reinterpret_cast<HWND>(static_cast<uintptr_t>(number));
}

/// Empty for a window that was never shown. The caller holds the lock.
ShownWindow FindShown(MessageState& state, const Window& entry);

/// A copy of the window's entry, with the screen that it is on. Nothing for a window that is not there.
using CopiedWindow = std::optional<std::pair<Window, ShownWindow>>;
// Exported, as the published calls are: a module with a copy of device_contexts.cpp of its own has to find the
// program's windows.
#pragma GCC visibility push(default)
CopiedWindow CopyWindow(HWND window);
#pragma GCC visibility pop

}  // namespace platform
