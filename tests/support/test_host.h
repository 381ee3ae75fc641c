/// The host of the tests: a browser of page objects, with faults. A use that breaks the interface's rules and what is
/// left over at its end fail the running test.
#pragma once

#include <map>
#include <memory>

#include "kit/nphost/host.h"
#include "tests/support/page_objects.h"

namespace support {

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

class TestHost : public NpHost::Host {
 public:
  /// Fills the table and initialises the module with it.
  TestHost();
  ~TestHost() override;

  static TestHost& Current() { return static_cast<TestHost&>(Host::Current()); }

  /// Makes the `nth` coming call of this kind fail. A fault that never comes fails the test.
  void Fail(Fault fault, int nth = 1) { faults[fault] = nth; }
  /// Asked by the host's calls.
  bool Fails(Fault fault);

  /// A page object that lives as long as the host.
  ScriptObject* Object(std::vector<std::pair<Key, Value>> members = {});
  ScriptObject* NewFunction(Function function);
  /// One that ends with the last reference on it, as an engine's wrapper does.
  ScriptObject* Temporary();

  /// An instance's record, without a plug-in behind it. Its window's "location" has a "toString" that gives `address`.
  NPP NewInstance(const std::string& address = "https://page.example/");
  ScriptObject& Window(NPP npp) { return *windows.at(npp); }

  /// A variant as the host hands it over; the receiver releases it.
  NPVariant Make(const Value& value);
  static Value Read(const NPVariant& variant) { return ReadValue(variant); }

  /// The fetches that were asked for since the last time this was asked; nothing of them happens by itself.
  std::vector<Fetch> TakeFetches() { return std::exchange(fetches, {}); }

  /// Script calls a member of an object of the plug-in; the caller releases the result.
  bool Call(NPObject* object, const std::string& method, const std::vector<Value>& args, NPVariant* result);
  bool Get(NPObject* object, const Key& key, NPVariant* result);

 private:
  NPObject* WindowOf(NPP npp) override { return Retain(windows.at(npp)); }
  NPError GetUrlNotify(NPP npp, const char* url, const char* target, void* notifyData) override;
  void ReportMisuse(const std::string& misuse) override;
  NPObject* AllocateObject(NPP npp, NPClass* objectClass) override;

  std::map<Fault, int> faults;
  std::vector<Fetch> fetches;
  std::vector<std::unique_ptr<ScriptObject>> objects;  // Those that ended stay here, poisoned.
  std::map<NPP, ScriptObject*> windows;
};

}  // namespace support
