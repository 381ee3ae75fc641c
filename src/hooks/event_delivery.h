/// The way of one agent event: the library's callback copies it into a record and posts the record's address to the
/// page's window; the message hook on the window's thread takes the record and calls the page's function. The routes,
/// the records and the hook of all pages are behind one lock, which is never held while a library, script or the
/// system's message calls run.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "page/page_life.h"
#include "platform/win32.h"

namespace NorvoWebAPI::KSV {

/// The private message that carries an event: `wParam` is the record's address, `lParam` 0.
inline constexpr UINT WM_AGENT_EVENT = WM_USER + 43;

/// The log tag of deliveries. They log at every level, because the library's threads don't know a page's setting.
inline constexpr char kEventLogTag[] = "pZUB:EventTemplate";

/// The library's callbacks, on its own threads. They never wait: an event that comes during a delivery is posted after
/// it. An event that can't be passed on is dropped; nothing is thrown.
void CallbackEvent(const char* appName, uint32_t size, const void* data, uint8_t source);
void InstanceCallbackEvent(uint32_t instanceId, uint32_t size, const void* data, uint8_t source, void* context);

/// Which page gets the events of a name (`eventMap`, first generation) or of an instance (`instanceEventMap`). Changed
/// on the browser's thread only; the library's callbacks read.
namespace EventRoutes {

void Insert(const std::string& name, const std::shared_ptr<PageLife>& life);
void Insert(uint32_t instanceId, const std::shared_ptr<PageLife>& life);
[[nodiscard]] bool HasNames();
[[nodiscard]] bool HasName(const std::string& name);
/// Any one of the page's names, or an empty text if it has none.
[[nodiscard]] std::string FindEventName(const PageLife& life);
/// Whether the instance's events go to this page. The library may have given the id to another one's instance since.
[[nodiscard]] bool Has(uint32_t instanceId, const PageLife& life);
/// Erase an entry, an instance's only if it is of this page. If the map is then empty, the hook is removed.
void Release(const std::string& name);
void Release(uint32_t instanceId, const PageLife& life);
void ClearNames();
void ClearInstances();
/// Erases all entries and records of a page that ends. Removes the hook when no page has entries: it must not outlive
/// the module.
void ForgetPage(const PageLife& life);

}  // namespace EventRoutes

/// Installs the hook unless it is there. False when the system refuses.
[[nodiscard]] bool InstallEventHook();
void RemoveEventHook();

/// Declares that no delivery runs, and posts the events that have come during one. The browser's thread only.
void ClearEventBusy();

}  // namespace NorvoWebAPI::KSV
