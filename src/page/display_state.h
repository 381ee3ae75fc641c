#pragma once

#include <cstdint>
#include <memory>

#include "page/flag_mutex.h"
#include "script/np_func_bridge.h"

namespace NorvoWebAPI::KSV {

/// The state of a page's display, which its methods and the window hooks share. The browser's thread only.
struct DisplayState {
  using Callback = std::shared_ptr<NPJSConverter::NPFuncBridge>;

  /// Throws `std::bad_alloc` when the system can't make a mutex.
  DisplayState();

  /// Clears what belongs to a session; the context, the image's size and the callbacks stay.
  void ClearSession();

  MutexOwner buttonMutex;
  uint32_t buttonHeld = 0;  ///< 1 while the left button is down over the window: no repaint pulse then.
  MutexOwner repaintMutex;
  uint32_t repaintBusy = 0;  ///< 1 while a hook repaints: no session is closed then.

  /// How deeply hooks and repaint pulses of this page are nested, and how many nested pulses the outermost pulse has
  /// caused.
  uint32_t hookDepth = 0;
  uint32_t pulseDepth = 0;
  uint32_t nestedPulses = 0;

  /// The page's functions. A new one replaces the old one.
  Callback mouseDownCallback;
  Callback mouseUpCallback;
  Callback windowEventCallback;  ///< Nothing calls it.
  Callback repaintImageCallback;
  Callback displayEventsCallback;

  uint32_t displayContext = 0;
  uint32_t sessionId = 0;
  uint32_t imageId = 0;             ///< Given by the page.
  uint32_t buttonUpCount = 0;       ///< Completed clicks.
  uint32_t displayActive = 0;       ///< 1 while an image is shown: the hooks act.
  uint32_t remoteImagePresent = 0;  ///< 1 when the image came as a frame: the next frame releases it first.
  int32_t inputType = 0;            ///< Decides what `wysSubmitButton` sends.
  int32_t imageWidth = 0;           ///< In pixels; clicks beyond it are ignored.
  int32_t imageHeight = 0;
};

}  // namespace NorvoWebAPI::KSV
