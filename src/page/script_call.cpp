#include "page/script_call.h"

#include <cmath>
#include <utility>

#include "page/scriptable.h"
#include "script/variant_conversion.h"

namespace NorvoWebAPI::KSV {

JSObject MethodResult::Take() {
  if (pluginCode) keys["pluginRetCode"] = JSObject(*pluginCode);
  if (status) keys["fnRetCode"] = JSObject(*status);
  return std::move(keys);
}

ScriptCall::ScriptCall(Scriptable& called, const MethodRow& method, const NPVariant* args, MethodResult& toFill)
    : scriptable(called), result(toFill), variants(args) {
  const size_t count = method.ArgumentCount();
  values.reserve(count);
  for (size_t i = 0; i < count; ++i) {
    const ArgumentKind kind = method.arguments[i].kind;
    const bool isConverted = kind != ArgumentKind::Function && kind != ArgumentKind::Unread;
    values.push_back(isConverted ? Read(i) : JSObject());
  }
  for (size_t i = 0; i < count; ++i) {
    if (method.arguments[i].kind == ArgumentKind::Text) static_cast<void>(String(i));
  }
}

JSObject ScriptCall::Read(size_t index) const {
  return NPJSConverter::fromNPVariant(scriptable.Npp(), scriptable.Host(), &variants[index], scriptable.Life());
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

std::optional<AgentTarget> ScriptCall::Target() {
  if (!scriptable.IsInstanceGeneration()) return AgentTarget::Applet(Text(0));
  uint32_t instanceId = 0;
  const Outcome resolved = scriptable.ResolveInstance(Text(0), instanceId);
  result.Set(resolved);
  if (!resolved.Succeeded()) return std::nullopt;
  return AgentTarget::Instance(instanceId);
}

}  // namespace NorvoWebAPI::KSV
