#include "api/script_call.h"

#include "api/method_table.h"
#include "api/scriptable.h"
#include "foundation/result_codes.h"
#include "script/variant_conversion.h"

namespace NorvoWebAPI::KSV {

ScriptCall::ScriptCall(Scriptable& calledPage, const MethodRow& method, const NPVariant* args, JSObject& answer,
                       const InstanceWatch& watch)
    : page(calledPage), result(answer), variants(args) {
  values.reserve(method.argumentCount);
  for (size_t i = 0; i < method.argumentCount; ++i) {
    values.emplace_back();
    if (method.arguments[i].demand == Demand::Function) continue;
    values.back() = NPJSConverter::fromNPVariant(page.Instance(), page.Host(), &args[i]);
    // Reading a getter of the page's may have ended it.
    watch.DemandAlive();
  }
  for (size_t i = 0; i < method.argumentCount; ++i) {
    if (method.arguments[i].demand == Demand::Text) static_cast<void>(String(i));
  }
}

NPObject* ScriptCall::Function(size_t index) const {
  const NPVariant& variant = variants[index];
  if (variant.type != NPVariantType_Object || !variant.value.objectValue) throw CPluginException{kBadArguments};
  return variant.value.objectValue;
}

AgentTarget ScriptCall::Target() const {
  if (!page.IsInstanceGeneration()) return AgentTarget::Applet(Text(0));
  const uint32_t instanceId = page.ResolveInstance(Text(0), result);
  if (!WentThrough(result)) throw Answered{};
  return AgentTarget::Instance(instanceId);
}

}  // namespace NorvoWebAPI::KSV
