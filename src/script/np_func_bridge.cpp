#include "script/np_func_bridge.h"

#include <utility>

#include "script/errors.h"
#include "script/host_values.h"
#include "script/np_scriptable.h"
#include "script/variant_conversion.h"

namespace NorvoWebAPI::NPJSConverter {
namespace {

// The arguments of one call, one behind the other as the host wants them.
class ArgumentList {
 public:
  ArgumentList(const NPNetscapeFuncs* npnFuncs, const InstanceLife& instanceLife)
      : funcs(npnFuncs), life(instanceLife) {}
  ArgumentList(const ArgumentList&) = delete;
  ArgumentList& operator=(const ArgumentList&) = delete;
  ~ArgumentList() {
    for (NPVariant& variant : variants) {
      // A host that has destroyed the instance may have deallocated the module's objects with it.
      const bool mayDangle = variant.type == NPVariantType_Object && life.HasEnded();
      if (!mayDangle) ReleaseQuietly([&] { funcs->releasevariantvalue(&variant); });
    }
  }

  void Reserve(size_t count) { variants.reserve(count); }
  void Add(const NPVariant& owned) { variants.push_back(owned); }
  [[nodiscard]] const NPVariant* Data() const { return variants.empty() ? nullptr : variants.data(); }
  [[nodiscard]] uint32_t Count() const { return static_cast<uint32_t>(variants.size()); }

 private:
  const NPNetscapeFuncs* funcs;
  const InstanceLife& life;
  std::vector<NPVariant> variants;
};

}  // namespace

NPFuncBridge::NPFuncBridge(NPP instance, const NPNetscapeFuncs* funcs, NPObject* called,
                           std::shared_ptr<const InstanceLife> instanceLife)
    : npp(instance), npnFuncs(funcs), object(called), life(std::move(instanceLife)) {
  if (!npnFuncs || !object) throw BadTypeid();
  // The host ends the module's own objects with their instance, whoever holds a reference: one kept here would dangle.
  if (IsOwnObject(object)) throw BadTypeid();
  life->DemandAlive();
  npnFuncs->retainobject(object);
  function = JSObject(CallEntry, this);
}

NPFuncBridge::~NPFuncBridge() {
  ReleaseQuietly([this] { npnFuncs->releaseobject(object); });
}

bool NPFuncBridge::CallEntry(void* context, std::vector<JSObject>* args, JSObject* result) {
  if (!context) return false;
  const auto kept = static_cast<NPFuncBridge*>(context)->weak_from_this().lock();
  try {
    return static_cast<NPFuncBridge*>(context)->CallHost(*args, *result);
  } catch (...) {
    return false;
  }
}

bool NPFuncBridge::CallHost(const std::vector<JSObject>& args, JSObject& result) {
  life->DemandAlive();
  HostVariant answer(npnFuncs);
  ArgumentList variants(npnFuncs, *life);
  variants.Reserve(args.size());
  for (const JSObject& arg : args) variants.Add(toNPVariant(npp, npnFuncs, arg, life));
  const bool called = npnFuncs->invokeDefault(npp, object, variants.Data(), variants.Count(), answer.Out());
  result = fromNPVariant(npp, npnFuncs, &answer.Get(), *life);
  return called;
}

}  // namespace NorvoWebAPI::NPJSConverter
