/// The window hooks of the display. They see the messages of the pages' windows and pass every one on: clicks go to the
/// page's functions, the library's events too, and any message is a pulse to repaint the image.
#pragma once

#include <cstdint>

#include "display/display_entries.h"
#include "page/scriptable.h"
#include "platform/win32.h"

namespace NorvoWebAPI::KSV {

/// The private message that tells a page's window of a display event; both parameters are 0.
inline constexpr UINT WM_DISPLAY_EVENT = WM_USER + 42;

/// Receives the library's events, on any thread of its own. Gives 1 for an accepted record, else 0; the page learns
/// only that there was an event.
uint32_t DisplayEventCallback(DisplayEventRecord* record);

/// Installs the three hooks; removes installed ones first. If the system refuses a hook, the others work without it.
void InstallDisplayHooks();

/// Forgets the press that waits for its release, on whatever page.
void ResetClickState();
/// Forgets a press on a page whose session or display ends, and clears its held-button flag, which would keep repaint
/// pulses from the next image.
void EndClick(Scriptable& object);

}  // namespace NorvoWebAPI::KSV
