/// Registering pages for agent events and releasing them. Failures are `CPluginException`; an operation whose library
/// call went through or was refused gives the codes. The browser's thread only.
///
/// All pages share one hook. A release that leaves the map it looks at empty takes the hook away, also when another
/// page or the other map still has entries: their events reach no page until the next registration.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "agent/cksv_plugin_zub.h"
#include "page/page_life.h"
#include "script/js_object.h"

namespace NorvoWebAPI::KSV::EventTemplate {

using Page = std::shared_ptr<PageLife>;

/// Registers a page for an applet's events, in a library of the first generation. Code 22: the hook can't be installed,
/// or a page has the name already.
Outcome RegisterEvent(const std::string& name, const Page& page, CKSVPluginZUB& agent);
/// The same in the instance generation: starts the instance. The caller enters it in the page's `instanceMap`. Code 22:
/// the hook can't be installed, or the page has an instance of that name.
Outcome StartInstanceEvent(const std::string& name, const Page& page, CKSVPluginZUB& agent, JSObject& result);

/// Code 12: the name isn't registered.
Outcome UnRegisterEvent(const std::string& name, const Page& page, CKSVPluginZUB& agent);
/// Code 22: the page has no instance of that name that was started for events.
Outcome UnRegisterInstanceEvent(const std::string& name, const Page& page, CKSVPluginZUB& agent, JSObject& result);

/// Release one registration, or all instances, of a page while other initialisations stand. The outcome is only logged.
void UnRegisterPlugin(const Page& page, CKSVPluginZUB& agent);
void StopPluginInstances(const Page& page, CKSVPluginZUB& agent);

/// Forget what the library holds before it is taken down: the names of every page; the instances that any page started
/// for events, and this page's others.
void ClearEvents();
void ClearInstanceEvents(const Page& page);

/// Removes a stopped instance from its page's map.
void ReleaseInstance(const Page& page, uint32_t instanceId);

/// The page ends: unregisters the names that are left and forgets its registrations and events.
void ForgetPage(const Page& page, CKSVPluginZUB& agent);

}  // namespace NorvoWebAPI::KSV::EventTemplate
