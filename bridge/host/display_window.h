#pragma once

#include <memory>
#include <optional>
#include <string>

#include "base/owner.h"
#include "bridge/host/place.h"
#include "platform/win32.h"

namespace Bridge {

/// The caption of a window of this width for a page of this origin; `height` is the caption's, 0 if the system tells
/// none. A system cuts a long text at its end, but the end of an origin tells whose it is: so the beginning is left
/// out.
std::basic_string<WCHAR> CaptionOf(const std::string& origin, int width, int height);

/// The window of an instance of the plug-in's, above the browser, with the page's origin in its caption. It is shown
/// while it has an image and the element can be seen. On Windows it never takes the keyboard from the browser; on
/// Linux a click in it does. Belongs to the thread that makes it.
class DisplayWindow {
 public:
  /// `origin` is what the browser attests. Throws `std::runtime_error`.
  DisplayWindow(const std::string& origin, int width, int height);
  DisplayWindow(const DisplayWindow&) = delete;
  DisplayWindow& operator=(const DisplayWindow&) = delete;

  HWND Handle() const { return window.Get(); }
  /// Before the first call the window is not shown.
  void MoveTo(const Place& to);
  void SetHasImage(bool has);

  /// Whether the system is delivering a press or a release of the user's to a window of the calling thread.
  static bool IsInClick();

 private:
  using ClickHook = NorvoWebAPI::Owner<HHOOK, UnhookWindowsHookEx>;

  static std::shared_ptr<const ClickHook> ShareClickHook();
  void Update();

  const std::string origin;
  NorvoWebAPI::Owner<HWND, DestroyWindow> window;
  std::shared_ptr<const ClickHook> clickHook;
  std::optional<Place> place;
  bool hasImage = false;
};

}  // namespace Bridge
