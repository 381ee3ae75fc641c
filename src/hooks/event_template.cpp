#include "hooks/event_template.h"

#include <optional>
#include <vector>

#include "base/debug_log.h"
#include "base/result_codes.h"
#include "hooks/event_delivery.h"

namespace NorvoWebAPI::KSV::EventTemplate {
namespace {

void LogStart(const CKSVPluginZUB& agent, const char* word) {
  DebugLog(agent.LogEnabled(), kEventLogTag, "%s\n", word);
}

void ReleaseEventMap(const Page& page) {
  DebugLog(true, kEventLogTag, "%s\n", "Releasing event map");
  EventRoutes::ReleaseFirst(*page);
}

Outcome Unregister(const std::string& name, const Page& page, CKSVPluginZUB& agent) {
  const ReleaseScope releasing;
  const Outcome outcome = agent.UnregisterCallback(name.c_str());
  if (outcome.Succeeded()) {
    ClearEventBusy();
    ReleaseEventMap(page);
  }
  return outcome;
}

}  // namespace

Outcome RegisterEvent(const std::string& name, const Page& page, CKSVPluginZUB& agent) {
  LogStart(agent, "RegisterEvent");
  InstallEventHook();
  if (EventRoutes::HasName(name)) throw CPluginException{kEventRegistrationFailed};
  ClearEventBusy();
  const Outcome outcome = agent.RegisterCallback(name.c_str(), CallbackEvent);
  if (outcome.Succeeded()) EventRoutes::InsertName(name, page);
  LogOutcome(agent.LogEnabled(), kAgentLogTag, "RegisterEvent", outcome);
  return outcome;
}

Outcome StartInstanceEvent(const std::string& name, const Page& page, CKSVPluginZUB& agent, JSObject& result) {
  LogStart(agent, "StartInstance");
  InstallEventHook();
  if (page->instanceMap.Find(name)) throw CPluginException{kEventRegistrationFailed};
  ClearEventBusy();
  const Outcome outcome = agent.StartInstance(name.c_str(), InstanceCallbackEvent, page.get(), result);
  if (outcome.Succeeded()) {
    EventRoutes::InsertInstance(static_cast<uint32_t>(result[kInstanceIdKey].ToInt()), page);
  }
  LogOutcome(agent.LogEnabled(), kAgentLogTag, "StartInstance", outcome);
  return outcome;
}

Outcome UnRegisterEvent(const std::string& name, const Page& page, CKSVPluginZUB& agent) {
  LogStart(agent, "UnRegisterEvent");
  if (!EventRoutes::HasName(name)) throw CPluginException{kBadArguments};
  const Outcome outcome = Unregister(name, page, agent);
  LogOutcome(agent.LogEnabled(), kEventLogTag, "UnRegisterEvent", outcome);
  return outcome;
}

Outcome UnRegisterInstanceEvent(const std::string& name, const Page& page, CKSVPluginZUB& agent, JSObject& result) {
  LogStart(agent, "UnRegisterEvent");
  const std::optional<InstanceRecord> instance = page->instanceMap.Find(name);
  if (!instance || !instance->hasEventCallback) throw CPluginException{kEventRegistrationFailed};
  const ReleaseScope releasing;
  const Outcome outcome = agent.StopInstance(instance->instanceId, result);
  if (outcome.Succeeded()) {
    ClearEventBusy();
    ReleaseInstance(page, instance->instanceId);
    ReleaseEventMap(page);
  }
  LogOutcome(agent.LogEnabled(), kEventLogTag, "UnRegisterEvent", outcome);
  return outcome;
}

void UnRegisterPlugin(const Page& page, CKSVPluginZUB& agent) {
  LogStart(agent, "UnRegisterEvent");
  if (!EventRoutes::HasNames()) return;
  Outcome outcome{kPluginOk, kAgentOk};
  const std::vector<std::string> names = EventRoutes::NamesOf(*page);
  if (!names.empty()) outcome = Unregister(names.front(), page, agent);
  LogOutcome(agent.LogEnabled(), kEventLogTag, "UnRegisterEvent", outcome);
}

void StopPluginInstances(const Page& page, CKSVPluginZUB& agent) {
  LogStart(agent, "UnRegisterEvent");
  Outcome outcome{kPluginOk, kAgentOk};
  try {
    const ReleaseScope releasing;
    for (const uint32_t instanceId : page->instanceMap.Ids()) {
      JSObject ignored;
      outcome = agent.StopInstance(instanceId, ignored);
    }
    page->instanceMap.Clear();
    ReleaseEventMap(page);
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

void ClearInstanceEvents(const Page& page) {
  DebugLog(true, kEventLogTag, "%s\n", "ClearEvents");
  page->instanceMap.Clear();
  EventRoutes::ClearInstances();
  RemoveEventHook();
}

void ReleaseInstance(const Page& page, uint32_t instanceId) {
  DebugLog(true, kEventLogTag, "%s\n", "Releasing event map");
  if (page->instanceMap.Remove(instanceId)) RemoveEventHook();
}

void ForgetPage(const Page& page, CKSVPluginZUB& agent) {
  const ReleaseScope releasing;
  for (const std::string& name : EventRoutes::NamesOf(*page)) agent.UnregisterCallback(name.c_str());
  EventRoutes::ForgetPage(*page);
}

}  // namespace NorvoWebAPI::KSV::EventTemplate
