#include "api/scriptable.h"

#include <utility>

#include "api/method_table.h"
#include "foundation/debug_log.h"
#include "foundation/product.h"
#include "foundation/result_codes.h"
#include "script/instance_watch.h"
#include "script/variant_conversion.h"
#include "shell/plugin.h"

namespace NorvoWebAPI::KSV {

int32_t agentInitCount = 0;

Scriptable::Scriptable(NPP instance, const NPNetscapeFuncs* funcs, Plugin* owner)
    : NPScriptable(funcs), npp(instance), npnFuncs(funcs), version(kVersion), agent(kPlatformTag), plugin(owner) {
  RegisterProperty("version", &Scriptable::GetVersionProperty, nullptr);
  RegisterMethods(std::make_index_sequence<kMethods.size()>());
}

Scriptable::~Scriptable() {
  DebugLog(agent.LogEnabled(), "pPlugin", "%s-%p\n", "Destructor", static_cast<void*>(this));
  // Told first: the release lets the library run, and the host may end the page in there.
  const Plugin::Entry running(*plugin);
  plugin->ScriptableEnded();
  if (plugin->owedDeInits > 0) ReleaseAgent();
  // Another page may have been given the window meanwhile.
  const auto entry = PluginWindows().find(plugin->window);
  if (entry != PluginWindows().end() && entry->second == plugin) PluginWindows().erase(entry);
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
  const InstanceWatch watch(npp);
  JSObject answer;
  if (!method.Accepts(argCount)) {
    StorePluginCode(answer, kBadArguments);
  } else {
    try {
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

void Scriptable::ReleaseAgent() {
  static constexpr MethodRow kRelease = Rows::Method("zubDeInit", AgentMethods::DeInit);
  RunMethod(kRelease, nullptr, 0, nullptr);
}

bool Scriptable::GetVersionProperty(NPVariant* result) {
  *result = NPJSConverter::toNPVariant(npp, npnFuncs, JSObject(version));
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
  JSObject started;
  agent.StartInstance(name, nullptr, plugin, started);
  if (!WentThrough(started)) return answer(PluginCodeOf(started), StatusOf(started), 0);
  const auto instanceId = static_cast<uint32_t>(started["instanceID"].ToInt());
  plugin->instanceMap.Enter(name, {instanceId, false});
  return answer(kPluginOk, kAgentOk, instanceId);
}

}  // namespace NorvoWebAPI::KSV
