// What the user and the display do to windows: it becomes messages in the queue of the window's thread.
#include <algorithm>

#include "platform/desktop.h"
#include "platform/message_state.h"

namespace platform {
namespace {

// Runs `work(handle, entry, queue)` on the calling thread's window with this number on its screen, if there still is
// one.
template <class Work>
void OnReported(uint32_t onScreen, Work work) {
  MessageState& state = Messages();
  const DWORD self = GetCurrentThreadId();
  const std::lock_guard lock(state.mutex);
  for (auto& [number, entry] : state.windows) {
    if (entry.thread != self || entry.onScreen != onScreen) continue;
    work(HandleOf(number), entry, state.queues[self]);
    return;
  }
}

LPARAM Packed(LONG low, LONG high) {
  return static_cast<LPARAM>((static_cast<uint32_t>(high) << 16) | (static_cast<uint32_t>(low) & 0xFFFFu));
}

void EnqueueButton(HWND window, const Window& entry, UINT message, POINT client) {
  const POINT screen{client.x + entry.place.origin.x, client.y + entry.place.origin.y};
  const WPARAM held = message == WM_LBUTTONDOWN ? MK_LBUTTON : 0;
  Enqueue(Messages(), entry.thread, MSG{window, message, held, Packed(client.x, client.y), 0, screen}, true);
}

void EnqueueReport(HWND window, const Window& entry, UINT message, LPARAM lParam = 0) {
  Enqueue(Messages(), entry.thread, MSG{window, message, 0, lParam, 0, {0, 0}});
}

}  // namespace

void MakeMouseInput(HWND window, UINT message, POINT client) {
  MessageState& state = Messages();
  const std::lock_guard lock(state.mutex);
  if (const Window* entry = FindWindowEntry(state, window)) EnqueueButton(window, *entry, message, client);
}

void ReadScreen() {
  MessageState& state = Messages();
  const DWORD self = GetCurrentThreadId();
  std::unique_lock lock(state.mutex);
  const auto found = state.queues.find(self);
  const std::shared_ptr<Screen> screen = found == state.queues.end() ? nullptr : found->second.screen;
  lock.unlock();
  if (!screen || screen->Read()) return;
  // The display is gone, and with it what was shown: as if the user had closed each window.
  lock.lock();
  state.queues[self].screen.reset();
  for (auto& [number, entry] : state.windows) {
    if (entry.thread != self || entry.onScreen == 0) continue;
    entry.onScreen = 0;
    entry.isVisible = false;
    EnqueueReport(HandleOf(number), entry, WM_CLOSE);
  }
}

void ReportExposed(uint32_t window) {
  OnReported(window, [](HWND handle, const Window& entry, const Queue& queue) {
    const bool isQueued = std::any_of(queue.messages.begin(), queue.messages.end(), [handle](const Queued& queued) {
      return queued.message.hwnd == handle && queued.message.message == WM_PAINT;
    });
    if (!isQueued) EnqueueReport(handle, entry, WM_PAINT);
  });
}

void ReportPlaced(uint32_t window, const Placement& place) {
  OnReported(window, [&](HWND handle, Window& entry, const Queue&) {
    const auto [origin, size] = std::exchange(entry.place, place);
    if (origin.x != place.origin.x || origin.y != place.origin.y) {
      EnqueueReport(handle, entry, WM_MOVE, Packed(place.origin.x, place.origin.y));
    }
    if (size.x != place.size.x || size.y != place.size.y) {
      EnqueueReport(handle, entry, WM_SIZE, Packed(place.size.x, place.size.y));
    }
  });
}

void ReportCovered(uint32_t window, bool isCovered) {
  OnReported(window, [isCovered](HWND, Window& entry, const Queue&) { entry.isCovered = isCovered; });
}

void ReportFocus(uint32_t window, bool hasFocus) {
  OnReported(window, [hasFocus](HWND handle, const Window&, Queue& queue) {
    if (!hasFocus && queue.focus != handle) return;
    queue.focus = hasFocus ? handle : nullptr;
    // What is released elsewhere is not told here.
    queue.heldKeys.fill(false);
  });
}

void ReportButton(uint32_t window, UINT message, POINT client) {
  OnReported(window,
             [&](HWND handle, const Window& entry, const Queue&) { EnqueueButton(handle, entry, message, client); });
}

void ReportKey(uint32_t window, UINT message, const KeyInput& key, bool repeats) {
  OnReported(window, [&](HWND handle, const Window& entry, const Queue&) {
    // As published: how often, whether it was down before, whether it is released.
    const uint32_t flags = message == WM_KEYUP ? 0xC0000001 : repeats ? 0x40000001 : 1;
    Enqueue(Messages(), entry.thread, MSG{handle, message, key.code, static_cast<LPARAM>(flags), 0, {0, 0}}, false,
            key);
  });
}

void ReportCloseAsked(uint32_t window) {
  OnReported(window, [](HWND handle, const Window& entry, const Queue&) { EnqueueReport(handle, entry, WM_CLOSE); });
}

}  // namespace platform
