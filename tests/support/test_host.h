/// A page host in the browser's place, behind the published table. It keeps accounts of all that crosses the border:
/// what is released twice, used after its end, not its own or left over at the end fails the running test. Memory and
/// objects are poisoned when they end; text is handed over without a terminator, in blocks of its exact size.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <variant>
#include <vector>

#include "npapi/npfunctions.h"

namespace support {

class TestHost;

/// A script value: undefined, null, or what its type says. Objects are referred to, not owned.
using Value = std::variant<std::monostate, std::nullptr_t, bool, int32_t, double, std::string, NPObject*>;
using Key = std::variant<std::string, int32_t>;
using Getter = std::function<Value()>;
/// What a page's function does; its answer, or nothing when it throws.
using Function = std::function<bool(const std::vector<Value>& args, Value& result)>;

/// An object of the page's own. Members keep their order.
struct ScriptObject : NPObject {
  std::vector<std::pair<Key, Getter>> members;
  Function function;       ///< Empty for an object that can't be called.
  bool temporary = false;  ///< Ends with its last reference; the host keeps none.

  ScriptObject& Set(Key key, Value value) {
    return Define(std::move(key), [value = std::move(value)] { return value; });
  }
  /// A member whose read runs page script.
  ScriptObject& Define(Key key, Getter getter);
  [[nodiscard]] const Getter* Find(const Key& key) const;
};

/// The host's calls that can be made to fail. `CreateObjectLate` fails when the object has been allocated already.
enum class Fault {
  MemAlloc,
  GetValue,
  HasProperty,
  GetProperty,
  Enumerate,
  Invoke,
  InvokeDefault,
  CreateObject,
  CreateObjectLate,
  Utf8FromIdentifier,
  GetURLNotify,
};

/// What the plug-in asked the host to fetch; `notifyData` is the host's to hand back.
struct Fetch {
  NPP npp;
  std::string url;
  void* notifyData;
};

/// One at a time; on the thread that the plug-in is called on.
class TestHost {
 public:
  /// Fills the table and initialises the module with it.
  TestHost();
  ~TestHost();
  TestHost(const TestHost&) = delete;
  TestHost& operator=(const TestHost&) = delete;

  [[nodiscard]] const NPNetscapeFuncs& Funcs() const { return funcs; }

  /// Makes the `nth` coming call of this kind fail. A fault that never comes fails the test.
  void Fail(Fault fault, int nth = 1) { faults[fault] = nth; }

  /// A page object that lives as long as the host.
  ScriptObject* Object(std::vector<std::pair<Key, Value>> members = {});
  ScriptObject* NewFunction(Function function);
  /// One that ends with the last reference on it, as an engine's wrapper does.
  ScriptObject* Temporary();

  /// An instance's record, without a plug-in behind it; `EndInstance` poisons it. Its window's "location" has a
  /// "toString" that gives `address`.
  NPP NewInstance(const std::string& address = "https://page.example/");
  ScriptObject& Window(NPP npp) { return *instances.at(npp); }
  /// Ends the instance's objects as well: `scriptable` at once, whoever refers to it.
  void EndInstance(NPP npp, NPObject* scriptable);

  /// A variant as the host hands it over; the receiver releases it.
  NPVariant Make(const Value& value);
  void Release(NPVariant& variant);
  /// What a variant holds, read by its length.
  static Value Read(const NPVariant& variant);
  NPObject* Retain(NPObject* object);
  void Release(NPObject* object);

  /// The fetches that were asked for since the last time this was asked; nothing of them happens by itself.
  std::vector<Fetch> TakeFetches() { return std::exchange(fetches, {}); }

  NPIdentifier Id(const Key& key);
  /// Script calls a member of an object of the plug-in; the caller releases the result.
  bool Call(NPObject* object, const std::string& method, const std::vector<Value>& args, NPVariant* result);
  bool Get(NPObject* object, const Key& key, NPVariant* result);

  /// Objects that the plug-in made and that live.
  [[nodiscard]] size_t PluginObjects() const { return pluginObjects.size(); }
  [[nodiscard]] uint32_t References(NPObject* object) const { return object->referenceCount; }

 private:
  friend struct HostTable;

  ScriptObject* Live(NPObject* object);
  bool Fails(Fault fault);
  void CheckInstance(NPP npp, const char* call) const;
  void EnterScript(NPP npp, const char* call) const;

  void* Allocate(size_t size);
  void Free(void* block);
  NPError GetWindow(NPP npp, void* out);
  NPObject* CreateObject(NPP npp, NPClass* aClass);
  bool GetProperty(NPP npp, NPObject* object, NPIdentifier id, NPVariant* result);
  bool Run(NPObject* object, const NPVariant* args, uint32_t count, NPVariant* result);
  bool Enumerate(NPP npp, NPObject* object, NPIdentifier** ids, uint32_t* count);
  NPError GetURLNotify(NPP npp, const char* url, const char* target, void* notifyData);
  const Key& KeyOf(NPIdentifier id) const;

  NPNetscapeFuncs funcs{};
  std::map<Fault, int> faults;
  std::vector<Fetch> fetches;
  std::map<void*, size_t> blocks;
  std::set<Key> keys;
  std::unordered_set<NPIdentifier> identifiers;                          // The addresses of the keys.
  std::unordered_map<NPObject*, std::unique_ptr<ScriptObject>> objects;  // Those that ended stay here, poisoned.
  std::map<NPP, ScriptObject*> instances;
  std::deque<NPP_t> records;
  std::map<NPObject*, NPP> pluginObjects;
};

}  // namespace support
