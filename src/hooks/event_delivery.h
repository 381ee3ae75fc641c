/// The way of one agent event: the library's entry copies it into a record and posts the record's address to the page's
/// window; the message hook on the window's thread takes the record and calls the page's function. The routes, the
/// records and the hook of all pages are behind one lock, which is never held while a library, script or the system's
/// message calls run.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "page/page_life.h"
#include "platform/win32.h"

namespace NorvoWebAPI::KSV {

/// The private message that carries an event: `wParam` is the record's address, `lParam` 0.
inline constexpr UINT WM_AGENT_EVENT = WM_USER + 43;

/// Deliveries log under it at every level: on the library's threads no page's setting is known.
inline constexpr char kEventLogTag[] = "pZUB:EventTemplate";

/// The library's entries, on its own threads. An event that can't be passed on is dropped; nothing is thrown.
void CallbackEvent(const char* appName, uint32_t size, const void* data, uint8_t source);
void InstanceCallbackEvent(uint32_t instanceId, uint32_t size, const void* data, uint8_t source, void* context);

/// Which page gets the events of a name (`eventMap`, first generation) or of an instance (`instanceEventMap`). All
/// operations run on the browser's thread.
namespace EventRoutes {

void InsertName(const std::string& name, const std::shared_ptr<PageLife>& page);
void InsertInstance(uint32_t instanceId, const std::shared_ptr<PageLife>& page);
[[nodiscard]] bool HasNames();
[[nodiscard]] bool HasName(const std::string& name);
/// The names of a page, in the order of the map.
[[nodiscard]] std::vector<std::string> NamesOf(const PageLife& page);
/// Erases the first entry of a page from each map, of however many. A map that this leaves empty takes the hook away.
void ReleaseFirst(const PageLife& page);
void ClearNames();
void ClearInstances();
/// Erases all entries of a page that ends, and its records on their way. Without entries of any page left, the hook
/// goes.
void ForgetPage(const PageLife& page);

}  // namespace EventRoutes

/// Installs the hook unless it is there. Throws `CPluginException` 22 when the system refuses.
void InstallEventHook();
void RemoveEventHook();

/// Lets waiting entries go on.
void ClearEventBusy();

/// While one exists, entries don't wait for a delivery to end but drop their events: the library may wait for its
/// callbacks to return before it lets go of a registration, and would wait for ever if that is asked inside a delivery.
class ReleaseScope {
 public:
  ReleaseScope();
  ~ReleaseScope();
  ReleaseScope(const ReleaseScope&) = delete;
  ReleaseScope& operator=(const ReleaseScope&) = delete;
};

}  // namespace NorvoWebAPI::KSV
