// The script methods for events and instances.
#include <memory>
#include <optional>
#include <string>

#include "api/agent_methods.h"
#include "base/result_codes.h"
#include "hooks/event_template.h"
#include "page/script_call.h"
#include "page/scriptable.h"

namespace NorvoWebAPI::KSV::AgentMethods {
namespace {

// An applet's name, which may not be empty. The library reads it up to its first zero.
std::string DemandName(const ScriptCall& call) {
  std::string name = call.String(0).c_str();
  if (name.empty()) throw CPluginException{kBadArguments};
  return name;
}

Outcome Register(ScriptCall& call, const std::string& name) {
  const std::shared_ptr<PageLife>& life = call.scriptable.SharedLife();
  CKSVPluginZUB& agent = call.scriptable.Agent();
  if (!call.scriptable.IsInstanceGeneration()) return EventTemplate::RegisterEvent(name, life, agent);
  if (life->instanceMap.Find(name)) throw CPluginException{kEventRegistrationFailed};
  return EventTemplate::StartInstanceEvent(name, life, agent, call.result.keys);
}

Outcome Unregister(ScriptCall& call, const std::string& name) {
  PageLife& life = call.scriptable.Life();
  CKSVPluginZUB& agent = call.scriptable.Agent();
  return call.scriptable.IsInstanceGeneration()
             ? EventTemplate::UnRegisterInstanceEvent(name, life, agent, call.result.keys)
             : EventTemplate::UnRegisterEvent(name, agent);
}

void UndoRegistration(ScriptCall& call, const std::string& name) {
  try {
    Unregister(call, name);
  } catch (const CPluginException&) {
    // It was not registered.
  }
  if (call.scriptable.Life().HasEnded()) EventTemplate::ForgetPage(call.scriptable.Life(), call.scriptable.Agent());
}

}  // namespace

void RegisterEventCallback(ScriptCall& call) {
  const std::string name = DemandName(call);
  NPObject* const function = call.ScriptObject(1);
  if (!function) throw CPluginException{kBadArguments};
  if (!call.scriptable.Life().window) return;
  call.scriptable.agentEventCallback = call.scriptable.BridgeTo(function);
  try {
    call.result.Set(Register(call, name));
    // The host may have destroyed the instance during the library's call.
    call.scriptable.Life().DemandAlive();
  } catch (const CPluginException&) {
    throw;
  } catch (...) {
    UndoRegistration(call, name);
    throw;
  }
}

void UnRegisterEventCallback(ScriptCall& call) {
  call.result.Set(Unregister(call, DemandName(call)));
}

void StopInstance(ScriptCall& call) {
  const auto instanceId = static_cast<uint32_t>(call.Number(0));
  const Outcome outcome = call.scriptable.Agent().StopInstance(instanceId, call.result.keys);
  call.result.Set(outcome);
  if (outcome.Succeeded()) EventTemplate::ReleaseInstance(call.scriptable.Life(), instanceId);
}

void GetInstanceID(ScriptCall& call) {
  call.result.Set({kPluginOk, kAgentOk});
  // Converted here, not by the row: a name that is no text leaves the status above beside its code 13.
  const JSObject name = call.Read(0);
  const std::optional<InstanceRecord> instance = call.scriptable.Life().instanceMap.Find(name.AsString().c_str());
  call.result.keys["instanceID"] = JSObject(static_cast<int32_t>(instance ? instance->instanceId : 0));
}

}  // namespace NorvoWebAPI::KSV::AgentMethods
