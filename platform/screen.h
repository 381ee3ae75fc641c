/// How windows of the layer become visible. The layer calls a `Screen`; x11_screen.cpp, which a program links if it
/// shows windows (target `ksv_x11`), is one. So neither the plug-in's module nor a program that shows nothing needs X.
#pragma once

#include <memory>
#include <string>

#include "platform/win32.h"

namespace platform {

/// Where a window's client area is on the screen, in pixels.
struct Placement {
  POINT origin;
  POINT size;
};

/// One thread's connection to the display. `Open`, `Read` and `Wait` are for that thread, all else for any. A window is
/// a number that is not 0.
class Screen {
 public:
  virtual ~Screen() = default;

  /// The size of the screen, in pixels.
  virtual POINT size() const = 0;

  /// Makes a window that is not shown yet.
  virtual uint32_t Open(const Placement& place) = 0;
  virtual void Close(uint32_t window) = 0;
  virtual void Show(uint32_t window, bool activate, bool isTopmost) = 0;
  virtual void Hide(uint32_t window) = 0;
  virtual void Place(uint32_t window, const Placement& place) = 0;
  /// Puts the window above the others; `keep` has it stay there.
  virtual void Raise(uint32_t window, bool keep) = 0;
  virtual void SetTitle(uint32_t window, const std::string& utf8) = 0;
  virtual void Focus(uint32_t window) = 0;

  /// Each pixel is 0x00RRGGBB; rows from the top.
  virtual void Paint(uint32_t window, const Placement& area, const uint32_t* pixels) = 0;
  /// Makes the area white and has it reported as exposed.
  virtual void Clear(uint32_t window, const RECT& area) = 0;

  /// Reports, by the functions below, what has happened since. False once the display is gone.
  virtual bool Read() = 0;
  /// Returns when there is something to read, after `Wake`, or after the time; negative: no limit.
  virtual void Wait(int milliseconds) = 0;
  virtual void Wake() = 0;
};

/// Connects the calling thread; null if no display answers. Null itself in programs that show no windows.
using ConnectScreen = std::shared_ptr<Screen> (*)();
extern ConnectScreen connectScreen;

/// A key by its published number, and what else was held.
struct KeyInput {
  uint8_t code;
  bool control;
  bool alt;
};

/// What a screen reports, on its thread, of a window of that thread.
void ReportExposed(uint32_t window);
void ReportPlaced(uint32_t window, const Placement& place);
/// Whether other windows cover any of it.
void ReportCovered(uint32_t window, bool isCovered);
void ReportFocus(uint32_t window, bool hasFocus);
/// The left button: WM_LBUTTONDOWN or WM_LBUTTONUP, in client coordinates.
void ReportButton(uint32_t window, UINT message, POINT client);
/// WM_KEYDOWN or WM_KEYUP; `repeats` for a press of a key that is held.
void ReportKey(uint32_t window, UINT message, const KeyInput& key, bool repeats);
/// The user wants the window closed.
void ReportCloseAsked(uint32_t window);

}  // namespace platform
