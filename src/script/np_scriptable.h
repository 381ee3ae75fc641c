/// Turns a plain class into an object that the browser's script engine can call.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <unordered_map>
#include <utility>

#include "npapi/npfunctions.h"

namespace NorvoWebAPI {

/// The operations of the published `NPClass` that objects of the plug-in have, called by the class table's entries
/// behind one guard. The host's record owns the object, and each running call a share of it: a page can make the host
/// end an object from inside one of the object's own calls. The browser's thread only.
class ScriptDispatch {
 public:
  ScriptDispatch() = default;
  ScriptDispatch(const ScriptDispatch&) = delete;
  ScriptDispatch& operator=(const ScriptDispatch&) = delete;
  virtual ~ScriptDispatch() = default;

  /// The host ends its record of the object, and with it the record's share.
  void Deallocate() { deallocated = true; }
  /// True in a call that is still running after that. The instance may be gone too, and nobody reads the answer.
  [[nodiscard]] bool IsDeallocated() const { return deallocated; }

  virtual bool HasMethod(NPIdentifier id) = 0;
  virtual bool Invoke(NPIdentifier id, const NPVariant* args, uint32_t argCount, NPVariant* result) = 0;
  virtual bool HasProperty(NPIdentifier id) = 0;
  virtual bool GetProperty(NPIdentifier id, NPVariant* result) = 0;
  virtual bool SetProperty(NPIdentifier id, const NPVariant* value) = 0;

 private:
  bool deallocated = false;
};

/// A class table for the host, followed by a pointer to the native object for which an object is being made: the host's
/// `allocate` has no parameter for it.
struct ScriptClass {
  NPClass table;
  const std::shared_ptr<ScriptDispatch>* pendingObject;
};

/// A class table whose entries lead to `ScriptDispatch`, or refuse what no object of the plug-in does.
ScriptClass MakeScriptClass();

/// Whether this module made the object.
bool IsOwnObject(const NPObject* object);

/// Makes the host's object for `native`, with one reference. Null when the host refuses.
NPObject* CreateScriptObject(NPP npp, const NPNetscapeFuncs* npnFuncs, ScriptClass& scriptClass,
                             const std::shared_ptr<ScriptDispatch>& native);

/// The dispatch of a class `T` by names that it registers in its constructor.
template <typename T>
class NPScriptable : public ScriptDispatch {
 public:
  using Method = std::function<bool(const NPVariant* args, uint32_t argCount, NPVariant* result)>;
  using Getter = std::function<bool(NPVariant* result)>;
  using Setter = std::function<bool(const NPVariant* value)>;

  /// Makes the host's object for `native`, with one reference. Null when the host refuses.
  static NPObject* CreateObject(NPP npp, const NPNetscapeFuncs* npnFuncs, const std::shared_ptr<T>& native) {
    static ScriptClass scriptClass = MakeScriptClass();
    return CreateScriptObject(npp, npnFuncs, scriptClass, native);
  }

  bool HasMethod(NPIdentifier id) override { return methods.contains(id); }
  bool Invoke(NPIdentifier id, const NPVariant* args, uint32_t argCount, NPVariant* result) override {
    return this->HasMethod(id) && methods[id](args, argCount, result);
  }
  bool HasProperty(NPIdentifier id) override { return properties.contains(id); }
  bool GetProperty(NPIdentifier id, NPVariant* result) override {
    if (!this->HasProperty(id)) return false;
    const Getter& getter = properties[id].getter;
    return getter && getter(result);
  }
  bool SetProperty(NPIdentifier id, const NPVariant* value) override {
    if (!this->HasProperty(id)) return false;
    const Setter& setter = properties[id].setter;
    return setter && setter(value);
  }

 protected:
  /// Throws `std::runtime_error` without a table that can make identifiers.
  explicit NPScriptable(const NPNetscapeFuncs* npnFuncs)
      : getStringIdentifier(npnFuncs ? npnFuncs->getstringidentifier : nullptr) {
    if (!getStringIdentifier) {
      throw std::runtime_error("Null npnFuncs or getstringidentifier passed to NPScriptable");
    }
  }

  /// A later entry replaces an earlier one of the name; an empty method is ignored.
  void RegisterMethod(const char* name, Method method) {
    if (method) methods[getStringIdentifier(name)] = std::move(method);
  }
  /// An empty getter makes reads fail, an empty setter writes.
  void RegisterProperty(const char* name, Getter getter, Setter setter) {
    properties[getStringIdentifier(name)] = {std::move(getter), std::move(setter)};
  }

 private:
  struct PropertyEntry {
    Getter getter;
    Setter setter;
  };

  NPIdentifier (*getStringIdentifier)(const NPUTF8* name);
  std::unordered_map<NPIdentifier, PropertyEntry> properties;
  std::unordered_map<NPIdentifier, Method> methods;
};

}  // namespace NorvoWebAPI
