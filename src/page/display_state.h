#pragma once

#include <cstdint>
#include <memory>

#include "page/flag_mutex.h"
#include "script/np_func_bridge.h"

namespace NorvoWebAPI::KSV {

/// How a page's display stands between its calls: what its methods leave for one another and for the window's hooks.
/// The browser's thread only, but for the two flags.
struct DisplayState {
  using Callback = std::shared_ptr<NPJSConverter::NPFuncBridge>;

  /// Throws `std::bad_alloc` when the system has no mutex to give.
  DisplayState();

  /// All of a session goes; the context, the image's size, the hooks and the callbacks stay.
  void ForgetSession();

  MutexOwner buttonMutex;
  uint32_t buttonHeld = 0;  ///< The left button is down over the window: no repaints meanwhile.
  MutexOwner repaintMutex;
  uint32_t repaintBusy = 0;  ///< A hook is inside a repaint: no session is closed meanwhile.

  /// What the hooks do for the page right now, one inside the other.
  uint32_t runningHooks = 0;
  uint32_t runningRepaints = 0;
  uint32_t runningPulses = 0;
  uint32_t sentPulses = 0;  ///< Caused by messages that were sent while a pulse ran.

  /// The page's functions. A new one replaces the old one whole.
  Callback mouseDownCallback;
  Callback mouseUpCallback;
  Callback windowEventCallback;  ///< Kept for the page; nothing calls it.
  Callback repaintImageCallback;
  Callback displayEventsCallback;

  uint32_t displayContext = 0;
  uint32_t sessionId = 0;
  uint32_t sessionEra = 0;          ///< Of the library, when it was established.
  bool sessionStoodBefore = false;  ///< Given as standing: it may be another page's.
  uint32_t imageId = 0;             ///< As the page named it.
  uint32_t buttonUpCount = 0;       ///< Clicks that the page was told of to their end.
  uint32_t displayActive = 0;       ///< 1 while an image stands: the hooks act.
  uint32_t remoteImagePresent = 0;  ///< 1 when it came as a frame: the next frame has to release it.
  int32_t inputType = 0;            ///< What the page sends when the input is submitted.
  int32_t imageWidth = 0;           ///< In pixels, as far as clicks are the page's.
  int32_t imageHeight = 0;
};

}  // namespace NorvoWebAPI::KSV
