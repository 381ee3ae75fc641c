#include "script/np_scriptable.h"

#include <new>

#include "base/scope_exit.h"

namespace NorvoWebAPI {
namespace {

// The NPObject that the browser owns and whose references it counts; this module sets only `_class`.
struct ScriptObject : NPObject {
  std::shared_ptr<ScriptDispatch> object;
};

// Wraps every entry that is given an object: an exception becomes a `false` result. The copied `shared_ptr` keeps the
// object alive during the call.
template <typename Entry>
bool Enter(NPObject* obj, Entry entry) noexcept {
  if (!obj) return false;
  const std::shared_ptr<ScriptDispatch> object = static_cast<ScriptObject*>(obj)->object;
  try {
    return entry(*object);
  } catch (...) {
    return false;
  }
}

NPObject* Allocate(NPP /*npp*/, NPClass* aClass) noexcept {
  const auto* const pending = reinterpret_cast<ScriptClass*>(aClass)->pendingObject;
  if (!pending) return nullptr;
  // The host owns the record until it calls Deallocate.
  auto* const record = new (std::nothrow) ScriptObject;
  if (!record) return nullptr;
  record->_class = aClass;
  record->object = *pending;
  return record;
}

void Deallocate(NPObject* obj) {
  const std::unique_ptr<ScriptObject> record(static_cast<ScriptObject*>(obj));
  record->object->Deallocate();
}

// Nothing to do: objects answer until they are deallocated.
void Invalidate(NPObject* /*obj*/) {}

bool HasMethod(NPObject* obj, NPIdentifier id) {
  return Enter(obj, [&](ScriptDispatch& object) { return object.HasMethod(id); });
}

bool Invoke(NPObject* obj, NPIdentifier id, const NPVariant* args, uint32_t argCount, NPVariant* result) {
  return Enter(obj, [&](ScriptDispatch& object) { return object.Invoke(id, args, argCount, result); });
}

// No object of ours is a function.
bool InvokeDefault(NPObject* /*obj*/, const NPVariant* /*args*/, uint32_t /*argCount*/, NPVariant* /*result*/) {
  return false;
}

bool HasProperty(NPObject* obj, NPIdentifier id) {
  return Enter(obj, [&](ScriptDispatch& object) { return object.HasProperty(id); });
}

bool GetProperty(NPObject* obj, NPIdentifier id, NPVariant* result) {
  return Enter(obj, [&](ScriptDispatch& object) { return object.GetProperty(id, result); });
}

bool SetProperty(NPObject* obj, NPIdentifier id, const NPVariant* value) {
  return Enter(obj, [&](ScriptDispatch& object) { return object.SetProperty(id, value); });
}

// Removes nothing, and answers true all the same.
bool RemoveProperty(NPObject* obj, NPIdentifier /*id*/) {
  return obj != nullptr;
}

bool Enumerate(NPObject* /*obj*/, NPIdentifier** /*ids*/, uint32_t* /*count*/) {
  return false;
}

bool Construct(NPObject* /*obj*/, const NPVariant* /*args*/, uint32_t /*argCount*/, NPVariant* /*result*/) {
  return false;
}

}  // namespace

ScriptClass MakeScriptClass() {
  return {{NP_CLASS_STRUCT_VERSION, Allocate, Deallocate, Invalidate, HasMethod, Invoke, InvokeDefault, HasProperty,
           GetProperty, SetProperty, RemoveProperty, Enumerate, Construct},
          nullptr};
}

bool IsOwnObject(const NPObject* object) {
  return object->_class->allocate == Allocate;
}

NPObject* CreateScriptObject(NPP npp, const NPNetscapeFuncs* npnFuncs, ScriptClass& scriptClass,
                             const std::shared_ptr<ScriptDispatch>& native) {
  scriptClass.pendingObject = &native;
  const ScopeExit clear([&] { scriptClass.pendingObject = nullptr; });
  return npnFuncs->createobject(npp, &scriptClass.table);
}

}  // namespace NorvoWebAPI
