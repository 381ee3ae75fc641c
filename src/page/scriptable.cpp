#include "page/scriptable.h"

#include <optional>
#include <utility>

#include "base/debug_log.h"
#include "base/product.h"
#include "base/result_codes.h"
#include "page/plugin_windows.h"
#include "page/script_call.h"
#include "script/variant_conversion.h"

namespace NorvoWebAPI::KSV {

Scriptable::Scriptable(NPP instance, const NPNetscapeFuncs* funcs, std::shared_ptr<PageLife> pageLife,
                       const ScriptApi& scriptApi)
    : NPScriptable(funcs),
      npp(instance),
      npnFuncs(funcs),
      life(std::move(pageLife)),
      api(scriptApi),
      version(kVersion),
      agent(kPlatformTag),
      display(kPlatformTag) {
  RegisterProperty(
      "version", [this](NPVariant* result) { return GetVersionProperty(result); }, nullptr);
  for (const MethodRow& method : api.methods) {
    RegisterMethod(method.name, [this, &method](const NPVariant* args, uint32_t argCount, NPVariant* result) {
      return RunMethod(method, args, argCount, result);
    });
  }
}

Scriptable::~Scriptable() {
  DebugLog(agent.LogEnabled(), "pPlugin", "%s-%p\n", "Destructor", static_cast<void*>(this));
  if (displayActive == 1) {
    display.RegisterEvents(sessionId, nullptr, nullptr);
    display.CloseSession(sessionId);
    display.DeInit(displayContext);
  }
  // These two before the windows and the other functions: the browser sees the order of the releases.
  mouseDownCallback.reset();
  mouseUpCallback.reset();
  RemovePluginWindows(*life);
}

bool Scriptable::RunMethod(const MethodRow& method, const NPVariant* args, uint32_t argCount, NPVariant* result) {
  const bool accepted = method.Accepts(argCount);
  if (method.atEntry) method.atEntry(*this, accepted);
  MethodResult answer;
  if (method.answer == Answer::None) {
    if (!accepted) return false;
    ScriptCall call(*this, method, args, answer);
    method.operation(call);
    return true;
  }
  if (!accepted) {
    answer.pluginCode = kBadArguments;
  } else {
    if (method.answer == Answer::ResultStartingFailed) answer.pluginCode = kFailed;
    try {
      ScriptCall call(*this, method, args, answer);
      method.operation(call);
    } catch (const CPluginException& failure) {
      answer.pluginCode = failure.pluginRetCode;
    } catch (...) {
      answer.pluginCode = kFailed;
    }
  }
  if (IsDeallocated()) return false;
  if (result) *result = NPJSConverter::toNPVariant(npp, npnFuncs, answer.Take(), life);
  return true;
}

bool Scriptable::GetVersionProperty(NPVariant* result) {
  *result = NPJSConverter::TextVariant(npnFuncs, version);
  return true;
}

bool Scriptable::IsInstanceGeneration() {
  if (life->agentMajorVersion == 0) {
    JSObject answer;
    if (!agent.GetVersion(answer).Succeeded()) return false;
    life->agentMajorVersion = static_cast<uint8_t>(answer["version"].ToInt());
  }
  return life->agentMajorVersion >= 3;
}

Outcome Scriptable::ResolveInstance(const char* name, uint32_t& instanceId) {
  instanceId = 0;
  if (!name) return {kBadArguments, kAgentNotCalled};
  if (const std::optional<InstanceRecord> known = life->instanceMap.Find(name)) {
    instanceId = known->instanceId;
    return {kPluginOk, kAgentOk};
  }
  JSObject ignored;
  const Outcome outcome = agent.StartInstance(name, nullptr, life.get(), instanceId, ignored);
  if (outcome.Succeeded()) {
    life->instanceMap.Insert(name, {instanceId, false});
  } else {
    instanceId = 0;
  }
  return outcome;
}

Scriptable::Callback Scriptable::BridgeTo(NPObject* function) const {
  return std::make_shared<NPJSConverter::NPFuncBridge>(npp, npnFuncs, function, life);
}

}  // namespace NorvoWebAPI::KSV
