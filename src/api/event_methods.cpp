// Events and instances: the script methods that a page has for them.
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include "api/agent_methods.h"
#include "base/result_codes.h"
#include "hooks/event_delivery.h"
#include "hooks/event_template.h"
#include "page/plugin.h"
#include "page/script_call.h"
#include "page/scriptable.h"

namespace NorvoWebAPI::KSV::AgentMethods {
namespace {

// An applet's name for a registration, which is not made for none. The library takes it up to its first zero.
std::string DemandName(const ScriptCall& call) {
  std::string name = call.String(0).c_str();
  if (name.empty()) throw CPluginException{kBadArguments};
  return name;
}

void StartEvents(ScriptCall& call, const std::string& name) {
  Plugin& plugin = call.page.Page();
  CKSVPluginZUB& agent = call.page.Agent();
  if (!call.IsInstanceGeneration()) {
    EventTemplate::RegisterEvent(name, &plugin, agent, call.result);
    return;
  }
  if (plugin.instanceMap.Find(name)) throw CPluginException{kEventRegistrationFailed};
  EventTemplate::StartInstanceEvent(name, &plugin, agent, call.result);
  if (WentThrough(call.result)) {
    // The library may let the host run, and with it another start of the same applet.
    if (plugin.instanceMap.Find(name)) throw std::runtime_error("The applet was started meanwhile");
    plugin.instanceMap.Enter(name, {InstanceIdOf(call.result), true});
  }
}

}  // namespace

void RegisterEventCallback(ScriptCall& call) {
  const std::string name = DemandName(call);
  NPObject* const function = call.Function(1);
  Plugin& plugin = call.page.Page();
  if (!plugin.window || plugin.IsDestroyed()) return;
  call.page.agentEventCallback =
      std::make_shared<NPJSConverter::NPFuncBridge>(call.page.Instance(), call.page.Host(), function);
  try {
    StartEvents(call, name);
    // The library may let the host run, and the host end the page: then nobody is left to hear.
    if (plugin.IsDestroyed()) throw std::runtime_error("The page ended while it registered");
  } catch (const CPluginException&) {
    throw;
  } catch (...) {
    EventTemplate::UndoRegistration(name, &plugin, call.page.Agent(), call.result);
    throw;
  }
}

void UnRegisterEventCallback(ScriptCall& call) {
  const std::string name = DemandName(call);
  const auto stop =
      call.IsInstanceGeneration() ? EventTemplate::UnRegisterInstanceEvent : EventTemplate::UnRegisterEvent;
  stop(name, &call.page.Page(), call.page.Agent(), call.result);
}

void StopInstance(ScriptCall& call) {
  const auto instanceId = static_cast<uint32_t>(call.Number(0));
  {
    const ReleaseScope releasing;
    call.page.Agent().StopInstance(instanceId, call.result);
  }
  if (WentThrough(call.result)) EventTemplate::ReleaseInstance(&call.page.Page(), instanceId);
}

void GetInstanceID(ScriptCall& call) {
  StorePluginCode(call.result, kPluginOk);
  StoreStatus(call.result, kAgentOk);
  // Demanded here, not by the row: a name that is no text leaves the status above standing beside its code 13.
  const std::optional<InstanceRecord> instance = call.page.Page().instanceMap.Find(call.String(0).c_str());
  call.result[kInstanceIdKey] = JSObject(static_cast<int32_t>(instance ? instance->instanceId : 0));
}

}  // namespace NorvoWebAPI::KSV::AgentMethods
