#include "api/script_call.h"

#include <stdexcept>

#include "api/method_table.h"
#include "api/scriptable.h"
#include "foundation/result_codes.h"
#include "script/variant_conversion.h"

namespace NorvoWebAPI::KSV {

ScriptCall::ScriptCall(Scriptable& calledPage, const MethodRow& method, const NPVariant* args, JSObject& answer)
    : page(calledPage), result(answer) {
  const bool hadEnded = page.HasEnded();
  values.reserve(method.argumentCount);
  for (size_t i = 0; i < method.argumentCount; ++i) {
    values.push_back(NPJSConverter::fromNPVariant(page.Instance(), page.Host(), &args[i]));
    if (page.HasEnded() != hadEnded) throw std::runtime_error("The page ended while its arguments were read");
  }
  for (size_t i = 0; i < method.argumentCount; ++i) {
    if (method.arguments[i].demand == Demand::Text) static_cast<void>(String(i));
  }
}

const char* ScriptCall::Text(size_t index) const {
  const std::string& text = String(index);
  return text.empty() ? nullptr : text.c_str();
}

AgentTarget ScriptCall::Target() const {
  if (!page.IsInstanceGeneration()) return AgentTarget::Applet(Text(0));
  const uint32_t instanceId = page.ResolveInstance(Text(0), result);
  if (result[kPluginRetCodeKey].ToInt() != kPluginOk || result[kFnRetCodeKey].ToInt() != kAgentOk) throw Answered{};
  return AgentTarget::Instance(instanceId);
}

}  // namespace NorvoWebAPI::KSV
