/// What tests and hosts need beside the platform's calls: windows to post to, a hand on the mouse, an ear for the debug
/// output. The same on every system, with the system's own means, so that one test source serves all. A program that
/// loads a module has to export its symbols (`ENABLE_EXPORTS`) for the module to see the windows and settings made
/// here.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/win32.h"

namespace platform {

/// A window of the calling thread, which also has to destroy it.
class TestWindow {
 public:
  /// Where the client area lies on the screen, in pixels.
  explicit TestWindow(POINT clientOrigin = {120, 90}, int width = 240, int height = 160);
  ~TestWindow();
  TestWindow(const TestWindow&) = delete;
  TestWindow& operator=(const TestWindow&) = delete;

  HWND handle() const { return handle_; }
  /// Takes the window away before the object goes.
  void Destroy();

  /// The messages that reached the window's procedure, in order. The system may send some of its own among them.
  std::vector<UINT> received() const;
  bool HasReceived(UINT message) const;

  /// The user's left button at a position in client coordinates, inside the window. The message is there when the
  /// window's thread takes messages.
  void PressLeft(int x, int y);
  void ReleaseLeft(int x, int y);

 private:
  HWND handle_ = nullptr;
};

/// Takes and dispatches what waits in the calling thread's queue.
void PumpMessages();

/// Pumps until `isDone` gives true, for ten seconds at most unless told otherwise. Gives what `isDone` gave last.
bool PumpUntil(const std::function<bool()>& isDone,
               std::chrono::milliseconds atMost = std::chrono::milliseconds(10'000));

/// Collects the texts that this process writes to the debug output, from any thread, one entry a call.
class DebugOutputCapture {
 public:
  DebugOutputCapture();
  ~DebugOutputCapture();
  DebugOutputCapture(const DebugOutputCapture&) = delete;
  DebugOutputCapture& operator=(const DebugOutputCapture&) = delete;

  std::vector<std::string> lines() const;
  /// True if any text holds this part.
  bool Contains(std::string_view part) const;

 private:
  struct Texts;
  std::shared_ptr<Texts> texts_;
  int listener_;
};

/// Sets an environment variable as `_dupenv_s` reads it, or takes it away (null), and puts back what was there.
class ScopedVariable {
 public:
  ScopedVariable(const char* name, const char* value);
  ~ScopedVariable();
  ScopedVariable(const ScopedVariable&) = delete;
  ScopedVariable& operator=(const ScopedVariable&) = delete;

 private:
  std::string name_;
  std::unique_ptr<std::string> before_;
};

/// Whether the settings below work here. Where the calls are the system's own they don't: a test that needs one skips
/// itself, and the constructors throw `std::logic_error`.
extern const bool kHasLayerSettings;

/// Makes the `nth` following call of a function fail with `error`, on whatever thread it comes. The two forms of a
/// registry call count as one, under the name without A or W ("RegOpenKeyEx"); "*" stands for all. An unknown name
/// throws `std::invalid_argument`.
class FailCall {
 public:
  explicit FailCall(std::string_view call, DWORD error, int nth = 1);
  ~FailCall();
  FailCall(const FailCall&) = delete;
  FailCall& operator=(const FailCall&) = delete;

  /// The call came and failed.
  bool fired() const;

 private:
  int plan_;
};

/// False while the layer is in the hands of a library that can't do without memory.
bool MemoryMayFail();
/// The room of a block that `malloc` gave, as the run time keeps it.
size_t BlockSize(void* block);

/// Answers `IsWow64Process` for as long as it lives.
class Wow64Answer {
 public:
  explicit Wow64Answer(bool answer);
  ~Wow64Answer();
  Wow64Answer(const Wow64Answer&) = delete;
  Wow64Answer& operator=(const Wow64Answer&) = delete;
};

/// A property of the running installation, as `MsiGetPropertyA` reads it, for as long as it lives.
class InstallerProperty {
 public:
  InstallerProperty(const std::string& name, const std::string& value);
  ~InstallerProperty();
  InstallerProperty(const InstallerProperty&) = delete;
  InstallerProperty& operator=(const InstallerProperty&) = delete;

 private:
  std::string name_;
};

}  // namespace platform
