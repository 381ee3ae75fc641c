#include "page/scriptable.h"

#include <optional>
#include <utility>

#include "api/method_table.h"
#include "base/debug_log.h"
#include "base/product.h"
#include "base/result_codes.h"
#include "hooks/event_delivery.h"
#include "hooks/input_hooks.h"
#include "page/plugin.h"
#include "script/host_values.h"
#include "script/instance_watch.h"
#include "script/variant_conversion.h"

namespace NorvoWebAPI::KSV {

Scriptable::Scriptable(NPP instance, const NPNetscapeFuncs* funcs, Plugin* owner)
    : NPScriptable(funcs),
      npp(instance),
      npnFuncs(funcs),
      version(kVersion),
      agent(kPlatformTag),
      display(kPlatformTag),
      plugin(owner) {
  RegisterProperty("version", &Scriptable::GetVersionProperty, nullptr);
  RegisterMethods(std::make_index_sequence<kMethods.size()>());
  LeaveDisplayHooks();
}

Scriptable::~Scriptable() {
  DebugLog(agent.LogEnabled(), "pPlugin", "%s-%p\n", "Destructor", static_cast<void*>(this));
  // Told first: the release lets the library run, and the host may end the page in there.
  const Plugin::Entry running(*plugin);
  plugin->ScriptableEnded();
  if (agentInitialisations.Settle(*plugin)) {
    plugin->initialised = true;
    ReleaseQuietly([this] { ReleaseAgent(); });
  }
  ReleaseQuietly([this] { EndDisplay(); });
  mouseDownCallback.reset();
  mouseUpCallback.reset();
  plugin->LeaveWindows();
}

void Scriptable::EndDisplay() {
  ForgetPress(*this);
  const bool owed = displayInitialisations.Settle(*plugin);
  if (owed) plugin->initialised = true;
  if (displayActive == 1) {
    // The count may stay above 0: the library is told of the end of this page's context alone.
    if (owed) displayInitialisations.GiveBack(*plugin);
    JSObject unread;
    display.RegisterEvents(sessionId, nullptr, nullptr, unread);
    display.CloseSession(sessionId, unread);
    display.DeInit(displayContext, unread);
  } else if (owed) {
    ReleaseDisplay();
  }
}

void Scriptable::Deallocate() {
  plugin->ObjectEnded();
  NPScriptable::Deallocate();
}

template <size_t row>
bool Scriptable::HandleMethod(const NPVariant* args, uint32_t argCount, NPVariant* result) {
  return RunMethod(kMethods[row], args, argCount, result);
}

template <size_t... rows>
void Scriptable::RegisterMethods(std::index_sequence<rows...> /*all*/) {
  (RegisterMethod(kMethods[rows].name, &Scriptable::HandleMethod<rows>), ...);
}

bool Scriptable::RunMethod(const MethodRow& method, const NPVariant* args, uint32_t argCount, NPVariant* result) {
  const bool accepted = method.Accepts(argCount);
  if (method.entered) method.entered(*this, accepted);
  if (method.answers == Answers::Nothing) return accepted && RunSetter(method, args);
  const InstanceWatch watch(npp);
  JSObject answer;
  if (!accepted) {
    StorePluginCode(answer, kBadArguments);
  } else {
    try {
      if (method.answers == Answers::FailedAtFirst) StorePluginCode(answer, kFailed);
      ScriptCall call(*this, method, args, answer, watch);
      method.operation(call);
    } catch (const Answered&) {
      // The result says all there is to say.
    } catch (const CPluginException& failure) {
      StorePluginCode(answer, failure.pluginRetCode);
    } catch (...) {
      StorePluginCode(answer, kFailed);
    }
  }
  // A page that has ended meanwhile has nobody left to answer.
  if (IsDeallocated() || watch.HasEnded()) return false;
  if (result) *result = NPJSConverter::toNPVariant(npp, npnFuncs, std::move(answer));
  return true;
}

bool Scriptable::RunSetter(const MethodRow& method, const NPVariant* args) {
  const InstanceWatch watch(npp);
  JSObject unused;
  ScriptCall call(*this, method, args, unused, watch);
  method.operation(call);
  return true;
}

void Scriptable::ReleaseAgent() {
  RunMethod(RowOf("zubDeInit"), nullptr, 0, nullptr);
}

void Scriptable::ReleaseDisplay() {
  RunMethod(RowOf("wysDeInit"), nullptr, 0, nullptr);
}

bool Scriptable::GetVersionProperty(NPVariant* result) {
  *result = NPJSConverter::TextVariant(npnFuncs, version);
  return true;
}

bool Scriptable::IsInstanceGeneration() {
  if (plugin->agentMajorVersion == 0) {
    JSObject answer;
    agent.GetVersion(answer);
    if (!WentThrough(answer)) return false;
    plugin->agentMajorVersion = static_cast<uint8_t>(answer["version"].ToInt());
  }
  return plugin->agentMajorVersion >= 3;
}

uint32_t Scriptable::ResolveInstance(const char* name, JSObject& result) {
  const auto answer = [&](int32_t pluginCode, int32_t status, uint32_t instanceId) {
    StorePluginCode(result, pluginCode);
    StoreStatus(result, status);
    return instanceId;
  };
  if (!name) return answer(kBadArguments, kAgentNotCalled, 0);
  if (const std::optional<InstanceRecord> known = plugin->instanceMap.Find(name)) {
    return answer(kPluginOk, kAgentOk, known->instanceId);
  }
  const bool hadEnded = plugin->IsDestroyed();
  const uint32_t era = agentInitialisations.Era();
  JSObject started;
  agent.StartInstance(name, nullptr, plugin, started);
  if (!WentThrough(started)) return answer(PluginCodeOf(started), StatusOf(started), 0);
  // The library may have let the host run, and the host have taken it down, and the instance with it.
  if (agentInitialisations.Era() != era) return answer(kFailed, kAgentNotCalled, 0);
  const uint32_t instanceId = InstanceIdOf(started);
  // The page may have started the same applet meanwhile, or have ended: then nobody else would stop this one.
  const std::optional<InstanceRecord> other = plugin->instanceMap.Find(name);
  if (other || (plugin->IsDestroyed() && !hadEnded)) {
    if (!other || other->instanceId != instanceId) {
      const ReleaseScope releasing;
      agent.StopInstance(instanceId, started);
    }
    return other ? answer(kPluginOk, kAgentOk, other->instanceId) : answer(kFailed, kAgentNotCalled, 0);
  }
  plugin->instanceMap.Enter(name, {instanceId, false});
  return answer(kPluginOk, kAgentOk, instanceId);
}

}  // namespace NorvoWebAPI::KSV
