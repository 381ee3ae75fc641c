/// The plug-in's window. One source for each system.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "platform/win32.h"

namespace Kit {

/// A window of the calling thread, shown while this object lives.
class PageWindow {
 public:
  /// `title` is UTF-8; the size is that of the client area, in pixels. Throws `std::runtime_error`.
  PageWindow(const std::string& title, int width, int height);
  ~PageWindow();
  PageWindow(const PageWindow&) = delete;
  PageWindow& operator=(const PageWindow&) = delete;

  [[nodiscard]] HWND Handle() const;
  /// The client area's upper left corner on the screen; nothing on systems without a screen.
  [[nodiscard]] std::optional<POINT> Origin() const;
  /// False once the user has closed it.
  [[nodiscard]] bool IsOpen() const;
  /// A click of the user's left button. The plug-in gets it when messages are dispatched.
  void Click(int x, int y);
  /// Throws `std::runtime_error`.
  void SavePicture(const std::filesystem::path& path) const;

  static const bool kHasPicture;

 private:
  struct State;
  std::unique_ptr<State> state;
};

}  // namespace Kit
