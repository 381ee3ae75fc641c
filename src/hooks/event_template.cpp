#include "hooks/event_template.h"

#include <optional>
#include <stdexcept>

#include "base/debug_log.h"
#include "base/result_codes.h"
#include "base/scope_exit.h"
#include "hooks/event_delivery.h"

namespace NorvoWebAPI::KSV::EventTemplate {
namespace {

void LogStart(const CKSVPluginZUB& agent, const char* word) {
  DebugLog(agent.LogEnabled(), kEventLogTag, "%s\n", word);
}

void DemandHook() {
  if (!InstallEventHook()) throw CPluginException{kEventRegistrationFailed};
}

// Enters the route of a registration that the library has accepted. A page that ended during the library's call may
// have taken the hook away. No `CPluginException`: the caller then undoes the registration.
template <typename Key>
void InsertRoute(const Key& key, const std::shared_ptr<PageLife>& life) {
  EventRoutes::Insert(key, life);
  if (!InstallEventHook()) throw std::runtime_error("The event hook can't be installed again");
}

void LogMapRelease() {
  DebugLog(true, kEventLogTag, "%s\n", "Releasing event map");
}

Outcome Unregister(const std::string& name, CKSVPluginZUB& agent) {
  const Outcome outcome = agent.UnregisterCallback(name.c_str());
  if (outcome.Succeeded()) {
    LogMapRelease();
    EventRoutes::Release(name);
    ClearEventBusy();
  }
  LogOutcome(agent.LogEnabled(), kEventLogTag, "UnRegisterEvent", outcome);
  return outcome;
}

}  // namespace

Outcome RegisterEvent(const std::string& name, const std::shared_ptr<PageLife>& life, CKSVPluginZUB& agent) {
  LogStart(agent, "RegisterEvent");
  DemandHook();
  if (EventRoutes::HasName(name)) throw CPluginException{kEventRegistrationFailed};
  ClearEventBusy();
  const Outcome outcome = agent.RegisterCallback(name.c_str(), CallbackEvent);
  if (outcome.Succeeded()) InsertRoute(name, life);
  LogOutcome(agent.LogEnabled(), kAgentLogTag, "RegisterEvent", outcome);
  return outcome;
}

Outcome StartInstanceEvent(const std::string& name, const std::shared_ptr<PageLife>& life, CKSVPluginZUB& agent,
                           JSObject& result) {
  LogStart(agent, "StartInstance");
  DemandHook();
  ClearEventBusy();
  uint32_t instanceId = 0;
  const Outcome outcome = agent.StartInstance(name.c_str(), InstanceCallbackEvent, life.get(), instanceId, result);
  if (outcome.Succeeded()) {
    life->instanceMap.Insert(name, {instanceId, true});
    InsertRoute(instanceId, life);
  }
  LogOutcome(agent.LogEnabled(), kAgentLogTag, "StartInstance", outcome);
  return outcome;
}

Outcome UnRegisterEvent(const std::string& name, CKSVPluginZUB& agent) {
  LogStart(agent, "UnRegisterEvent");
  if (!EventRoutes::HasName(name)) throw CPluginException{kBadArguments};
  return Unregister(name, agent);
}

Outcome UnRegisterInstanceEvent(const std::string& name, PageLife& life, CKSVPluginZUB& agent, JSObject& result) {
  LogStart(agent, "UnRegisterEvent");
  const std::optional<InstanceRecord> instance = life.instanceMap.Find(name);
  if (!instance || !instance->hasEventCallback) throw CPluginException{kEventRegistrationFailed};
  const Outcome outcome = agent.StopInstance(instance->instanceId, result);
  if (outcome.Succeeded()) {
    ReleaseInstance(life, instance->instanceId);
    LogMapRelease();
    EventRoutes::Release(instance->instanceId, life);
    ClearEventBusy();
  }
  LogOutcome(agent.LogEnabled(), kEventLogTag, "UnRegisterEvent", outcome);
  return outcome;
}

void UnRegisterPlugin(PageLife& life, CKSVPluginZUB& agent) {
  LogStart(agent, "UnRegisterEvent");
  if (!EventRoutes::HasNames()) return;
  if (const std::string name = EventRoutes::FindEventName(life); !name.empty()) {
    Unregister(name, agent);
  } else {
    LogOutcome(agent.LogEnabled(), kEventLogTag, "UnRegisterEvent", {kPluginOk, kAgentOk});
  }
}

void StopPluginInstances(PageLife& life, CKSVPluginZUB& agent, JSObject& result) {
  LogStart(agent, "UnRegisterEvent");
  Outcome outcome{kPluginOk, kAgentOk};
  try {
    for (const auto& [instanceId, hasEventCallback] : life.instanceMap.Instances()) {
      // The library may have been de-initialised, and may have given this id to another page, whose instance goes on.
      if (life.HasEnded() && hasEventCallback && !EventRoutes::Has(instanceId, life)) continue;
      outcome = agent.StopInstance(instanceId, result);
      EventRoutes::Release(instanceId, life);
    }
    life.instanceMap.Clear();
    LogMapRelease();
  } catch (...) {
    outcome = {kEventRegistrationFailed, kAgentOk};
  }
  ClearEventBusy();
  LogOutcome(agent.LogEnabled(), kEventLogTag, "UnRegisterEvent", outcome);
}

void ClearEvents() {
  DebugLog(true, kEventLogTag, "%s\n", "ClearEvents");
  EventRoutes::ClearNames();
  RemoveEventHook();
}

void ClearInstanceEvents(PageLife& life) {
  DebugLog(true, kEventLogTag, "%s\n", "ClearEvents");
  life.instanceMap.Clear();
  EventRoutes::ClearInstances();
  RemoveEventHook();
}

void ReleaseInstance(PageLife& life, uint32_t instanceId) {
  LogMapRelease();
  // When the page has ended, `ForgetPage` removes the hook if no other page needs it.
  if (life.instanceMap.Remove(instanceId) && !life.HasEnded()) RemoveEventHook();
}

void ForgetPage(const PageLife& life, CKSVPluginZUB& agent) noexcept {
  const ScopeExit forget([&] { EventRoutes::ForgetPage(life); });
  try {
    for (std::string name; !(name = EventRoutes::FindEventName(life)).empty();) {
      agent.UnregisterCallback(name.c_str());
      EventRoutes::Release(name);
    }
  } catch (...) {
    // Out of memory: the library keeps a name, whose events find no page.
  }
}

}  // namespace NorvoWebAPI::KSV::EventTemplate
