/// The road of one event: the library's entry copies it into a record and posts the record's address to the page's
/// window; the message hook there takes it and calls the page's function.
#pragma once

#include <cstdint>
#include <string>

#include "hooks/event_routes.h"
#include "platform/win32.h"

namespace NorvoWebAPI::KSV {

/// The private message that carries an event: `wParam` is the record's address, `lParam` 0.
inline constexpr UINT WM_AGENT_EVENT = WM_USER + 43;

/// Deliveries and releases log under it at every level: on the library's threads no page's setting is at hand.
inline constexpr char kEventLogTag[] = "pZUB:EventTemplate";

/// First generation: who registered a name. Never ended, as the library's threads may come at any time.
extern EventRoutes<std::string>& eventMap;
/// Instance generation: who started an instance. Never ended.
extern EventRoutes<uint32_t>& instanceEventMap;

/// The library's entries, on its own threads. An event that can't be passed on is dropped; nothing is thrown.
void CallbackEvent(const char* appName, uint32_t size, const void* data, uint8_t source);
void InstanceCallbackEvent(uint32_t instanceId, uint32_t size, const void* data, uint8_t source, void* context);

/// Installs the hook if it isn't. Throws `CPluginException` 22 when the system refuses.
void InstallEventHook();
/// Takes the hook away if it is there, and with it the events on their way.
void RemoveEventHook();
/// Lets waiting entries go on: what they waited for is out of date.
void ClearEventBusy();
/// For as long as it lives, entries don't wait for a delivery but drop their events: the library is asked for something
/// that it may not do before its callbacks are back.
class ReleaseScope {
 public:
  ReleaseScope();
  ~ReleaseScope();
  ReleaseScope(const ReleaseScope&) = delete;
  ReleaseScope& operator=(const ReleaseScope&) = delete;
};
/// Drops the events on their way to a window that is gone.
void DropEventsTo(HWND window);
/// Drops the events on their way to a page.
void DropEventsOf(const Plugin* plugin);

}  // namespace NorvoWebAPI::KSV
