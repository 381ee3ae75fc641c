#include "hooks/event_template.h"

#include "agent/agent_log.h"
#include "base/result_codes.h"
#include "hooks/event_delivery.h"
#include "page/plugin.h"

namespace NorvoWebAPI::KSV::EventTemplate {
namespace {

void LogEntry(const CKSVPluginZUB& agent, const char* word) {
  DebugLog(agent.LogEnabled(), kEventLogTag, "%s\n", word);
}

// Goes by the window, so with two names on one page either one's entry may go.
void ReleaseEventMap(const Plugin* plugin) {
  DebugLog(true, kEventLogTag, "%s\n", "Releasing event map");
  if (eventMap.ReleaseWindow(plugin->window)) RemoveEventHook();
  if (instanceEventMap.ReleaseWindow(plugin->window)) RemoveEventHook();
}

// A registration that runs: its hook must not go with another page, while its own page is in no map yet.
int runningRegistrations = 0;

struct RunningRegistration {
  RunningRegistration() { ++runningRegistrations; }
  RunningRegistration(const RunningRegistration&) = delete;
  RunningRegistration& operator=(const RunningRegistration&) = delete;
  ~RunningRegistration() { --runningRegistrations; }
};

void Unregister(const std::string& name, const Plugin* plugin, CKSVPluginZUB& agent, JSObject& result) {
  const ReleaseScope releasing;
  agent.UnregisterCallback(name.c_str(), result);
  if (!WentThrough(result)) return;
  ClearEventBusy();
  ReleaseEventMap(plugin);
}

// The library may let the host run, and with it the library's own end: what it has registered is gone then, and the key
// may be another page's.
template <typename Call>
void InOneEra(Call call, JSObject& result) {
  const uint32_t era = agentInitialisations.Era();
  call();
  if (agentInitialisations.Era() != era) StorePluginCode(result, kFailed);
}

}  // namespace

void RegisterEvent(const std::string& name, Plugin* plugin, CKSVPluginZUB& agent, JSObject& result) {
  LogEntry(agent, "RegisterEvent");
  const RunningRegistration running;
  InstallEventHook();
  if (eventMap.Has(name)) throw CPluginException{kEventRegistrationFailed};
  ClearEventBusy();
  InOneEra([&] { agent.RegisterCallback(name.c_str(), CallbackEvent, result); }, result);
  if (WentThrough(result)) {
    // The library may let the host run, and with it another page's registration of the name.
    if (eventMap.Has(name)) throw CPluginException{kEventRegistrationFailed};
    eventMap.Enter(name, plugin);
  }
  LogCodes(agent.LogEnabled(), kAgentLogTag, "RegisterEvent", result);
}

void StartInstanceEvent(const std::string& name, Plugin* plugin, CKSVPluginZUB& agent, JSObject& result) {
  LogEntry(agent, "StartInstance");
  const RunningRegistration running;
  InstallEventHook();
  ClearEventBusy();
  InOneEra([&] { agent.StartInstance(name.c_str(), InstanceCallbackEvent, plugin, result); }, result);
  if (WentThrough(result)) instanceEventMap.Enter(InstanceIdOf(result), plugin);
  LogCodes(agent.LogEnabled(), kAgentLogTag, "StartInstance", result);
}

void UnRegisterEvent(const std::string& name, Plugin* plugin, CKSVPluginZUB& agent, JSObject& result) {
  LogEntry(agent, "UnRegisterEvent");
  if (!eventMap.Has(name)) throw CPluginException{kBadArguments};
  Unregister(name, plugin, agent, result);
  LogCodes(agent.LogEnabled(), kEventLogTag, "UnRegisterEvent", result);
}

void UnRegisterInstanceEvent(const std::string& name, Plugin* plugin, CKSVPluginZUB& agent, JSObject& result) {
  LogEntry(agent, "UnRegisterEvent");
  const std::optional<InstanceRecord> instance = plugin->instanceMap.Find(name);
  if (!instance || !instance->hasEventCallback) throw CPluginException{kEventRegistrationFailed};
  const ReleaseScope releasing;
  agent.StopInstance(instance->instanceId, result);
  if (WentThrough(result)) {
    ClearEventBusy();
    ReleaseInstance(plugin, instance->instanceId);
    ReleaseEventMap(plugin);
  }
  LogCodes(agent.LogEnabled(), kEventLogTag, "UnRegisterEvent", result);
}

void UnRegisterPlugin(Plugin* plugin, CKSVPluginZUB& agent, JSObject& result) {
  LogEntry(agent, "UnRegisterEvent");
  if (eventMap.Empty()) return;
  if (const std::string name = eventMap.KeyOfWindow(plugin->window); !name.empty()) {
    Unregister(name, plugin, agent, result);
  }
  LogCodes(agent.LogEnabled(), kEventLogTag, "UnRegisterEvent", result);
}

void StopPluginInstances(Plugin* plugin, CKSVPluginZUB& agent, JSObject& result) {
  LogEntry(agent, "UnRegisterEvent");
  try {
    const ReleaseScope releasing;
    const uint32_t era = agentInitialisations.Era();
    for (const uint32_t id : plugin->instanceMap.Ids()) {
      if (agentInitialisations.Era() != era) break;  // The numbers may be others' by now.
      agent.StopInstance(id, result);
    }
    ClearEventBusy();
    plugin->instanceMap.Clear();
    ReleaseEventMap(plugin);
    LogCodes(agent.LogEnabled(), kEventLogTag, "UnRegisterEvent", result);
  } catch (...) {
    ClearEventBusy();
    StorePluginCode(result, kEventRegistrationFailed);
    StoreStatus(result, kAgentOk);
  }
}

void ClearEvents() {
  DebugLog(true, kEventLogTag, "%s\n", "ClearEvents");
  eventMap.Clear();
  RemoveEventHook();
}

void ClearInstanceEvents(Plugin* plugin) {
  DebugLog(true, kEventLogTag, "%s\n", "ClearEvents");
  plugin->instanceMap.Clear();
  instanceEventMap.Clear();
  RemoveEventHook();
}

void ReleaseInstance(Plugin* plugin, uint32_t instanceId) {
  DebugLog(true, kEventLogTag, "%s\n", "Releasing event map");
  if (plugin->instanceMap.Remove(instanceId)) RemoveEventHook();
}

void UndoRegistration(const std::string& name, Plugin* plugin, CKSVPluginZUB& agent, JSObject& result) {
  if (!result.HasKey(kFnRetCodeKey) || !WentThrough(result)) return;
  const ReleaseScope releasing;
  JSObject ignored;
  if (!result.HasKey(kInstanceIdKey)) {
    agent.UnregisterCallback(name.c_str(), ignored);
    eventMap.Erase(name);
    return;
  }
  const uint32_t instanceId = InstanceIdOf(result);
  agent.StopInstance(instanceId, ignored);
  instanceEventMap.Erase(instanceId);
  plugin->instanceMap.Remove(instanceId);
}

void ForgetPlugin(const Plugin* plugin) {
  eventMap.Forget(plugin);
  instanceEventMap.Forget(plugin);
  DropEventsOf(plugin);
  // With nobody left to hear, a hook would stay in the way of all messages, and of the module's end.
  if (runningRegistrations == 0 && eventMap.Empty() && instanceEventMap.Empty()) RemoveEventHook();
}

}  // namespace NorvoWebAPI::KSV::EventTemplate
