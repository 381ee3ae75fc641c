#include "script/js_to_np_bridge.h"

#include <memory>
#include <stdexcept>
#include <utility>

#include "script/host_values.h"
#include "script/np_scriptable.h"
#include "script/variant_conversion.h"

namespace NorvoWebAPI {
namespace {

class JSToNPBridge : public NPScriptable<JSToNPBridge> {
 public:
  JSToNPBridge(JSObject shown, NPP instance, const NPNetscapeFuncs* funcs,
               std::shared_ptr<const InstanceLife> instanceLife)
      : NPScriptable(funcs), value(std::move(shown)), npp(instance), npnFuncs(funcs), life(std::move(instanceLife)) {}

  bool HasProperty(NPIdentifier id) override {
    if (npnFuncs->identifierisstring(id)) return value.HasKey(IdentifierText(npnFuncs, id));
    return static_cast<uint32_t>(npnFuncs->intfromidentifier(id)) < value.ElementCount();
  }

  bool GetProperty(NPIdentifier id, NPVariant* result) override {
    if (!HasProperty(id)) return false;
    const JSObject& member = npnFuncs->identifierisstring(id)
                                 ? value[IdentifierText(npnFuncs, id)]
                                 : value[static_cast<uint32_t>(npnFuncs->intfromidentifier(id))];
    const bool isNested = member.GetType() == JSObject::Type::Object || member.GetType() == JSObject::Type::Array;
    if (isNested) life->DemandAlive();
    *result = NPJSConverter::toNPVariant(npp, npnFuncs, member, life);
    return true;
  }

 private:
  JSObject value;
  NPP npp;
  const NPNetscapeFuncs* npnFuncs;
  std::shared_ptr<const InstanceLife> life;
};

}  // namespace

NPObject* MakeScriptView(JSObject value, NPP npp, const NPNetscapeFuncs* npnFuncs,
                         std::shared_ptr<const InstanceLife> life) {
  const auto bridge = std::make_shared<JSToNPBridge>(std::move(value), npp, npnFuncs, std::move(life));
  NPObject* const object = JSToNPBridge::CreateObject(npp, npnFuncs, bridge);
  if (!object) throw std::runtime_error("The host made no object");
  return object;
}

}  // namespace NorvoWebAPI
