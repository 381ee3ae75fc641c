/// The plug-in's window. One source for each system.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "platform/win32.h"

namespace Kit {

/// A window of the calling thread, shown until it ends.
class PageWindow {
 public:
  /// `title` is UTF-8; the size is that of the client area, in pixels. Throws `std::runtime_error`.
  PageWindow(const std::string& title, int width, int height);
  ~PageWindow();
  PageWindow(const PageWindow&) = delete;
  PageWindow& operator=(const PageWindow&) = delete;

  [[nodiscard]] HWND Handle() const;
  /// Where the client area begins on the screen; nothing where there is no screen.
  [[nodiscard]] std::optional<POINT> Origin() const;
  /// False once the user has closed it.
  [[nodiscard]] bool IsOpen() const;
  /// The user's left button, pressed and released; the plug-in gets to know when messages are taken.
  void Click(int x, int y);
  /// Throws `std::runtime_error`.
  void SavePicture(const std::filesystem::path& path) const;

  static const bool kHasPicture;

 private:
  struct State;
  std::unique_ptr<State> state;
};

}  // namespace Kit
