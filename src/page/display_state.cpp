#include "page/display_state.h"

#include <new>

namespace NorvoWebAPI::KSV {

DisplayState::DisplayState() {
  if (!CreateFlagMutex(&buttonMutex, &buttonHeld) || !CreateFlagMutex(&repaintMutex, &repaintBusy)) {
    throw std::bad_alloc();
  }
}

void DisplayState::ClearSession() {
  displayActive = 0;
  sessionId = 0;
  remoteImagePresent = 0;
  imageId = 0;
  buttonUpCount = 0;
  inputType = 0;
}

}  // namespace NorvoWebAPI::KSV
