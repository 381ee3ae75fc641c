#include "page/script_call.h"

#include <cmath>
#include <stdexcept>

#include "api/method_table.h"
#include "base/result_codes.h"
#include "page/plugin.h"
#include "page/scriptable.h"
#include "script/variant_conversion.h"

namespace NorvoWebAPI::KSV {

ScriptCall::ScriptCall(Scriptable& calledPage, const MethodRow& method, const NPVariant* args, JSObject& answer,
                       const InstanceWatch& instanceWatch)
    : page(calledPage), result(answer), variants(args), watch(instanceWatch) {
  values.reserve(method.argumentCount);
  for (size_t i = 0; i < method.argumentCount; ++i) {
    const Demand demand = method.arguments[i].demand;
    values.push_back(demand == Demand::Function || demand == Demand::Unread ? JSObject() : Read(i));
  }
  for (size_t i = 0; i < method.argumentCount; ++i) {
    if (method.arguments[i].demand == Demand::Text) static_cast<void>(String(i));
  }
}

JSObject ScriptCall::Read(size_t index) const {
  // To read an object the host is asked in the name of the instance.
  if (ScriptObject(index) && page.Page().IsDestroyed()) throw std::runtime_error("The page has ended");
  JSObject value = NPJSConverter::fromNPVariant(page.Instance(), page.Host(), &variants[index]);
  // Reading a getter of the page's may have ended it.
  watch.DemandAlive();
  return value;
}

uint32_t ScriptCall::Unsigned(size_t index) const {
  constexpr double kRange = 4294967296.0;
  const double low = std::fmod(std::trunc(values.at(index).ToDouble()), kRange);
  return std::isfinite(low) ? static_cast<uint32_t>(static_cast<int64_t>(low)) : 0;
}

NPObject* ScriptCall::ScriptObject(size_t index) const {
  const NPVariant& variant = variants[index];
  return variant.type == NPVariantType_Object ? variant.value.objectValue : nullptr;
}

NPObject* ScriptCall::Function(size_t index) const {
  NPObject* const function = ScriptObject(index);
  if (!function) throw CPluginException{kBadArguments};
  return function;
}

bool ScriptCall::IsInstanceGeneration() const {
  const bool answer = page.IsInstanceGeneration();
  // The library may let the host run, and the host end the page: nothing more is asked for it then.
  watch.DemandAlive();
  return answer;
}

AgentTarget ScriptCall::Target() const {
  if (!IsInstanceGeneration()) return AgentTarget::Applet(Text(0));
  const uint32_t instanceId = page.ResolveInstance(Text(0), result);
  watch.DemandAlive();
  if (!WentThrough(result)) throw Answered{};
  return AgentTarget::Instance(instanceId);
}

}  // namespace NorvoWebAPI::KSV
