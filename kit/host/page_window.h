/// The plug-in's window.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "platform/win32.h"

namespace Kit {

/// A window of the calling thread, shown while this object lives. On Linux it stays invisible, and says so, where no
/// display answers.
class PageWindow {
 public:
  /// `title` is UTF-8; the size is that of the client area, in pixels. Throws `std::runtime_error`.
  PageWindow(const std::string& title, int width, int height);
  ~PageWindow();
  PageWindow(const PageWindow&) = delete;
  PageWindow& operator=(const PageWindow&) = delete;

  [[nodiscard]] HWND Handle() const { return window; }
  /// The client area's upper left corner on the screen; nothing for a window that can't be seen.
  [[nodiscard]] std::optional<POINT> Origin() const;
  /// False once the user has closed it.
  [[nodiscard]] bool IsOpen() const { return state->isOpen; }
  /// A click of the user's left button. The plug-in gets it when messages are dispatched.
  void Click(int x, int y);

  static const bool kHasPicture;
  /// Throws `std::runtime_error`.
  void SavePicture(const std::filesystem::path& path) const;

 private:
  struct State {
    bool isOpen = true;
    bool isPainted = false;
  };
  static LRESULT CALLBACK Procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

  // One source for each system has these.
  static HWND Make(WNDPROC procedure, int width, int height);
  void AwaitDisplay() const;

  const std::unique_ptr<State> state;
  HWND window;
};

}  // namespace Kit
