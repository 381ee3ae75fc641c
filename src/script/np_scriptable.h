/// Turns a plain class into an object that the browser's script engine can call.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <unordered_map>

#include "npapi/npfunctions.h"

namespace NorvoWebAPI {

/// What the class table's entries reach: the operations of the published `NPClass`, behind one guard. An object lives
/// by the host's reference count, and past it until every call that still runs on it has been left: a page can make the
/// host end an object from inside one of the object's own calls. The browser's thread only.
class ScriptDispatch {
 public:
  ScriptDispatch() = default;
  ScriptDispatch(const ScriptDispatch&) = delete;
  ScriptDispatch& operator=(const ScriptDispatch&) = delete;
  virtual ~ScriptDispatch() = default;

  /// The host lets go of the object: deletes it, or leaves that to the last call that runs on it.
  virtual void Deallocate();
  virtual void Invalidate() {}
  virtual bool HasMethod(NPIdentifier id) = 0;
  virtual bool Invoke(NPIdentifier id, const NPVariant* args, uint32_t argCount, NPVariant* result) = 0;
  virtual bool InvokeDefault(const NPVariant* args, uint32_t argCount, NPVariant* result);
  virtual bool HasProperty(NPIdentifier id) = 0;
  virtual bool GetProperty(NPIdentifier id, NPVariant* result) = 0;
  virtual bool SetProperty(NPIdentifier id, const NPVariant* value) = 0;
  virtual bool RemoveProperty(NPIdentifier id);
  virtual bool Enumerate(NPIdentifier** ids, uint32_t* count);
  virtual bool Construct(const NPVariant* args, uint32_t argCount, NPVariant* result);

  /// True once the host has let go, while a call still runs: nothing more may be asked of the host for this object.
  [[nodiscard]] bool IsDeallocated() const { return deallocated; }

  /// Marks a call on the object; the last one out deletes an object that ended meanwhile.
  class Call {
   public:
    explicit Call(ScriptDispatch& called) : object(called) { ++object.runningCalls; }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;
    ~Call();

   private:
    ScriptDispatch& object;
  };

 private:
  uint32_t runningCalls = 0;
  bool deallocated = false;
};

/// A native object on its way into `allocate`, which has no parameter for it.
struct PendingObject {
  ScriptDispatch* object;
  bool taken = false;
};

/// A published class table and the word behind it that carries the object.
struct ScriptClass {
  NPClass table;
  PendingObject* pendingObject;
};

/// A class table whose twelve entries lead to `ScriptDispatch`.
ScriptClass MakeScriptClass();

/// Whether an object of the host's stands for one of this module's own.
bool IsOwnObject(const NPObject* object);

/// Makes the host's object for `native`, with one reference. Null when the host refuses; then `native` is still the
/// caller's if `*adopted` is false.
NPObject* CreateScriptObject(NPP npp, const NPNetscapeFuncs* npnFuncs, ScriptClass& scriptClass, ScriptDispatch& native,
                             bool* adopted);

/// The dispatch of a class `T` by names that it registers in its constructor.
template <typename T>
class NPScriptable : public ScriptDispatch {
 public:
  using Method = bool (T::*)(const NPVariant* args, uint32_t argCount, NPVariant* result);
  using Getter = bool (T::*)(NPVariant* result);
  using Setter = bool (T::*)(const NPVariant* value);

  /// Makes the host's object for `native` and with it the object on which its functions are called.
  static NPObject* CreateObject(NPP npp, const NPNetscapeFuncs* npnFuncs, T* native, bool* adopted) {
    static ScriptClass scriptClass = MakeScriptClass();
    native->self = native;
    return CreateScriptObject(npp, npnFuncs, scriptClass, *native, adopted);
  }

  bool HasMethod(NPIdentifier id) override { return methods.contains(id); }

  bool Invoke(NPIdentifier id, const NPVariant* args, uint32_t argCount, NPVariant* result) override {
    if (!this->HasMethod(id)) return false;
    const Method method = methods[id];
    return method && (self->*method)(args, argCount, result);
  }

  bool HasProperty(NPIdentifier id) override { return properties.contains(id); }

  bool GetProperty(NPIdentifier id, NPVariant* result) override {
    if (!this->HasProperty(id)) return false;
    const Getter getter = properties[id].getter;
    return getter && (self->*getter)(result);
  }

  bool SetProperty(NPIdentifier id, const NPVariant* value) override {
    if (!this->HasProperty(id)) return false;
    const Setter setter = properties[id].setter;
    return setter && (self->*setter)(value);
  }

 protected:
  /// Throws `std::runtime_error` without a table that can make identifiers.
  explicit NPScriptable(const NPNetscapeFuncs* npnFuncs)
      : getStringIdentifier(npnFuncs ? npnFuncs->getstringidentifier : nullptr) {
    if (!getStringIdentifier) {
      throw std::runtime_error("Null npnFuncs or getstringidentifier passed to NPScriptable");
    }
  }

  /// A later entry replaces an earlier one of the name; a null method is ignored.
  void RegisterMethod(const char* name, Method method) {
    if (method) methods[getStringIdentifier(name)] = method;
  }

  /// A null getter makes reads fail, a null setter writes.
  void RegisterProperty(const char* name, Getter getter, Setter setter) {
    properties[getStringIdentifier(name)] = {getter, setter};
  }

 private:
  struct PropertyEntry {
    Getter getter = nullptr;
    Setter setter = nullptr;
  };

  NPIdentifier (*getStringIdentifier)(const NPUTF8* name);
  T* self = nullptr;
  std::unordered_map<NPIdentifier, PropertyEntry> properties;
  std::unordered_map<NPIdentifier, Method> methods;
};

}  // namespace NorvoWebAPI
