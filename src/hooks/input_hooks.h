/// The window hooks of the display. They look at the messages of the pages' windows and pass every one on: clicks go to
/// the page's functions, the library's events too, and any message is a pulse for the image to be painted anew.
#pragma once

#include <cstdint>

#include "display/display_entries.h"
#include "page/display_state.h"
#include "platform/win32.h"

namespace NorvoWebAPI::KSV {

/// The private message that tells a page's window of a display event; both parameters are 0.
inline constexpr UINT WM_DISPLAY_EVENT = WM_USER + 42;

/// Given to the library as the taker of its events, on any thread of its own. Gives 1 for a record that it accepts; the
/// page learns only that there was an event.
uint32_t DisplayEventCallback(DisplayEventRecord* record);

/// Installs the three hooks anew. A hook that the system refuses is left out.
void InstallDisplayHooks();
/// Takes all of them away.
void RemoveDisplayHooks();
/// A new page begins: the hooks that are there go on, and are taken away with the next ones.
void LeaveDisplayHooks();
/// No press waits for its release any more; or none of this page's does.
void ResetClickState();
void ForgetPress(const DisplayState& page);

}  // namespace NorvoWebAPI::KSV
