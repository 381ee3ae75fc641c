/// What a program needs of the desktop beside the platform's calls: windows to post to, the mouse, the debug output. It
/// has the same form on every system, so one source serves all. A program that loads a module has to export its symbols
/// (`ENABLE_EXPORTS`): the module then sees the windows made here.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/win32.h"

namespace platform {

/// A window that records the messages it receives. Belongs to the thread that makes it, which also has to destroy it.
class TestWindow {
 public:
  /// The client area's place on the screen and its size, in pixels. Throws `std::runtime_error` if there is no window.
  explicit TestWindow(POINT clientOrigin = {120, 90}, int width = 240, int height = 160);
  ~TestWindow();
  TestWindow(const TestWindow&) = delete;
  TestWindow& operator=(const TestWindow&) = delete;

  HWND handle() const { return window; }
  /// Destroys the window before the object.
  void Destroy();

  /// The messages that the window's procedure received, in order. The system may send some of its own among them.
  std::vector<UINT> received() const;
  bool HasReceived(UINT message) const;

  /// As `MakeMouseInput`.
  void PressLeft(int x, int y);
  void ReleaseLeft(int x, int y);

 private:
  HWND window = nullptr;
};

/// Presses (`WM_LBUTTONDOWN`) or releases (`WM_LBUTTONUP`) the user's left button at a position in client coordinates,
/// inside the window. The message arrives when the window's thread takes messages.
void MakeMouseInput(HWND window, UINT message, POINT client);

/// Takes and dispatches the messages in the calling thread's queue.
void PumpMessages();

/// Pumps until `isDone` returns true, for ten seconds at most unless told otherwise. Returns the last result of
/// `isDone`.
bool PumpUntil(const std::function<bool()>& isDone,
               std::chrono::milliseconds atMost = std::chrono::milliseconds(10'000));

/// Returns true once the calling thread has a message, false after the time-out.
bool WaitForQueuedMessage(DWORD milliseconds);

/// Calls `listener` with each text that this process writes to the debug output, on the writing thread. Returns a
/// number for the removal.
int AddDebugListener(std::function<void(const char*)> listener);
void RemoveDebugListener(int listener);

/// Collects the texts that this process writes to the debug output, from any thread, one entry for each call.
class DebugOutputCapture {
 public:
  DebugOutputCapture();
  ~DebugOutputCapture();
  DebugOutputCapture(const DebugOutputCapture&) = delete;
  DebugOutputCapture& operator=(const DebugOutputCapture&) = delete;

  std::vector<std::string> lines() const;
  /// True if any text contains `part`.
  bool Contains(std::string_view part) const;

 private:
  struct Texts;
  std::shared_ptr<Texts> texts;
  int listener;
};

}  // namespace platform
