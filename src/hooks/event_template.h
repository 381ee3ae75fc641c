/// Registering pages for agent events and releasing them, named after their log tag. Failures are `CPluginException`;
/// an operation whose library call went through or was refused gives the codes. The browser's thread only.
///
/// All pages share one hook. A release that leaves the map it looks at empty takes the hook away, also when another
/// page or the other map still has entries: their events reach no page until the next registration.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "agent/cksv_plugin_zub.h"
#include "page/page_life.h"
#include "script/js_object.h"

namespace NorvoWebAPI::KSV::EventTemplate {

/// Registers a page for an applet's events, in a library of the first generation. Code 22: the hook can't be installed,
/// or a page has the name already.
Outcome RegisterEvent(const std::string& name, const std::shared_ptr<PageLife>& life, CKSVPluginZUB& agent);
/// The same in the instance generation: starts the instance and enters it in the page's `instanceMap`, which must not
/// have the name. Code 22: the hook can't be installed.
Outcome StartInstanceEvent(const std::string& name, const std::shared_ptr<PageLife>& life, CKSVPluginZUB& agent,
                           JSObject& result);

/// Code 12: the name isn't registered.
Outcome UnRegisterEvent(const std::string& name, CKSVPluginZUB& agent);
/// Code 22: the page has no instance of that name that was started for events.
Outcome UnRegisterInstanceEvent(const std::string& name, PageLife& life, CKSVPluginZUB& agent, JSObject& result);

/// Release one registration, or all instances, of a page while other initialisations stand. The codes are only logged.
void UnRegisterPlugin(PageLife& life, CKSVPluginZUB& agent);
void StopPluginInstances(PageLife& life, CKSVPluginZUB& agent, JSObject& result);

/// Forget what the library holds before it is de-initialised: the names of every page; the instances that any page
/// started for events, and this page's others.
void ClearEvents();
void ClearInstanceEvents(PageLife& life);

/// Removes a stopped instance from its page's map.
void ReleaseInstance(PageLife& life, uint32_t instanceId);

/// The page ends: unregisters the names that are left and forgets its routes and events. Never throws.
void ForgetPage(const PageLife& life, CKSVPluginZUB& agent) noexcept;

}  // namespace NorvoWebAPI::KSV::EventTemplate
