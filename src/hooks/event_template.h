/// Agent events on their way from the library's threads to page script: who is registered for what, and the delivery
/// through the page's window. Registering and releasing run on the browser's thread; failures are `CPluginException`.
/// All pages share one hook. A release that leaves the map it looks at empty takes the hook away, though the other map
/// or another page may still have entries.
#pragma once

#include <cstdint>
#include <string>

#include "agent/cksv_plugin_zub.h"
#include "script/js_object.h"

namespace NorvoWebAPI::KSV {

class Plugin;

namespace EventTemplate {

/// Registers a page for an applet's events, in a library of the first generation. Code 22: the hook can't be
/// installed, or any page has the name already.
void RegisterEvent(const std::string& name, Plugin* plugin, CKSVPluginZUB& agent, JSObject& result);
/// The same in the instance generation: starts the instance. The caller has looked for the name in the page's
/// `instanceMap`, and enters it there.
void StartInstanceEvent(const std::string& name, Plugin* plugin, CKSVPluginZUB& agent, JSObject& result);

/// Code 12: the name isn't registered.
void UnRegisterEvent(const std::string& name, Plugin* plugin, CKSVPluginZUB& agent, JSObject& result);
/// Code 22: the page has no instance of that name that was started for events.
void UnRegisterInstanceEvent(const std::string& name, Plugin* plugin, CKSVPluginZUB& agent, JSObject& result);

/// Releases what a page has while other initialisations stand.
void UnRegisterPlugin(Plugin* plugin, CKSVPluginZUB& agent, JSObject& result);
void StopPluginInstances(Plugin* plugin, CKSVPluginZUB& agent, JSObject& result);

/// Forgets what the library holds before it is taken down: the names of every page; the instances that every page
/// started for events, and this one's others.
void ClearEvents();
void ClearInstanceEvents(Plugin* plugin);

/// Takes an instance that was stopped out of its page's map.
void ReleaseInstance(Plugin* plugin, uint32_t instanceId);

/// Takes back a registration of which `result` tells that the library made it, however far it was entered.
void UndoRegistration(const std::string& name, Plugin* plugin, CKSVPluginZUB& agent, JSObject& result);

/// No event reaches a page that has ended.
void ForgetPlugin(const Plugin* plugin);

}  // namespace EventTemplate

}  // namespace NorvoWebAPI::KSV
