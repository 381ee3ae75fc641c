#include "tests/support/test_host.h"

#include <gtest/gtest.h>

#include <cstring>
#include <type_traits>

#include "kit/nphost/variants.h"
#include "tests/support/module_exports.h"
#include "tests/support/nth_failure.h"

namespace support {
namespace {

NPNetscapeFuncs plain;  // The host's table without faults.

// Puts a fault in front of a host function. What the host does for itself never fails, but script runs as it likes.
enum class Runs { Host, Script };
template <auto kEntry, Fault kFault, Runs kRuns, typename Answer, typename... Arguments>
void AddFault(NPNetscapeFuncs& funcs, Answer (*NPNetscapeFuncs::*)(Arguments...)) {
  funcs.*kEntry = [](Arguments... arguments) -> Answer {
    if (TestHost::Current().Fails(kFault)) {
      if constexpr (std::is_same_v<Answer, NPError>) return NPERR_GENERIC_ERROR;
      return {};
    }
    const InPlugin mode(failurePlan.inPlugin && kRuns == Runs::Script);
    return (plain.*kEntry)(arguments...);
  };
}
template <auto kEntry, Fault kFault, Runs kRuns = Runs::Host>
void AddFault(NPNetscapeFuncs& funcs) {
  AddFault<kEntry, kFault, kRuns>(funcs, kEntry);
}

NPObject* CreateObject(NPP npp, NPClass* objectClass) {
  TestHost& host = TestHost::Current();
  if (host.Fails(Fault::CreateObject)) return nullptr;
  NPObject* object = nullptr;
  {
    const InPlugin mode(false);
    object = plain.createobject(npp, objectClass);
  }
  if (!object || !host.Fails(Fault::CreateObjectLate)) return object;
  plain.releaseobject(object);
  return nullptr;
}

void AddFaults(NPNetscapeFuncs& funcs) {
  plain = funcs;
  using Table = NPNetscapeFuncs;
  AddFault<&Table::memalloc, Fault::MemAlloc>(funcs);
  AddFault<&Table::getvalue, Fault::GetValue>(funcs);
  AddFault<&Table::geturlnotify, Fault::GetURLNotify>(funcs);
  AddFault<&Table::utf8fromidentifier, Fault::Utf8FromIdentifier>(funcs);
  AddFault<&Table::hasproperty, Fault::HasProperty, Runs::Script>(funcs);
  AddFault<&Table::getproperty, Fault::GetProperty, Runs::Script>(funcs);
  AddFault<&Table::enumerate, Fault::Enumerate, Runs::Script>(funcs);
  AddFault<&Table::invoke, Fault::Invoke, Runs::Script>(funcs);
  AddFault<&Table::invokeDefault, Fault::InvokeDefault, Runs::Script>(funcs);
  funcs.createobject = CreateObject;
  funcs.getstringidentifier = [](const NPUTF8* name) {
    const InPlugin mode(false);
    return plain.getstringidentifier(name);
  };
}

}  // namespace

TestHost::TestHost() {
  AddFaults(Funcs());
  EXPECT_EQ(InitializeModule(&Funcs()), NPERR_NO_ERROR);
}

TestHost::~TestHost() {
  for (const std::string& leak : Leaks()) ADD_FAILURE() << leak;
  for (const auto& [fault, coming] : faults) {
    EXPECT_LE(coming, 0) << "fault " << static_cast<int>(fault) << " never came";
  }
}

bool TestHost::Fails(Fault fault) {
  if (FailsNow(Source::Host)) return true;
  const auto planned = faults.find(fault);
  return planned != faults.end() && --planned->second == 0;
}

void TestHost::ReportMisuse(const std::string& misuse) {
  ADD_FAILURE() << misuse;
}

NPObject* TestHost::AllocateObject(NPP npp, NPClass* objectClass) {
  const InPlugin mode(true);
  return Host::AllocateObject(npp, objectClass);
}

ScriptObject* TestHost::Object(std::vector<std::pair<Key, Value>> members) {
  ScriptObject* const object = objects.emplace_back(std::make_unique<ScriptObject>()).get();
  object->referenceCount = 1;
  for (auto& [key, value] : members) object->Set(std::move(key), std::move(value));
  Add(object, 1);
  return object;
}

ScriptObject* TestHost::Temporary() {
  ScriptObject* const object = Object();
  object->referenceCount = 0;
  Add(object);
  return object;
}

ScriptObject* TestHost::NewFunction(Function function) {
  ScriptObject* const object = Object();
  object->function = std::move(function);
  return object;
}

NPP TestHost::NewInstance(const std::string& address) {
  ScriptObject* const location = Object();
  location->Set("toString", NewFunction([address](const auto&, Value& result) {
                  result = address;
                  return true;
                }));
  const NPP npp = AddInstance();
  windows[npp] = Object({{"location", location}});
  return npp;
}

NPError TestHost::GetUrlNotify(NPP npp, const char* url, const char* target, void* notifyData) {
  EXPECT_EQ(target, nullptr) << "a fetch for a frame brings the plug-in no stream";
  fetches.push_back({npp, url, notifyData});
  return NPERR_NO_ERROR;
}

NPVariant TestHost::Make(const Value& value) {
  if (const auto* text = std::get_if<std::string>(&value)) return Text(*text);
  NPVariant variant{static_cast<NPVariantType>(value.index()), {}};
  if (const auto* flag = std::get_if<bool>(&value)) variant.value.boolValue = *flag;
  if (const auto* number = std::get_if<int32_t>(&value)) variant.value.intValue = *number;
  if (const auto* number = std::get_if<double>(&value)) variant.value.doubleValue = *number;
  if (const auto* object = std::get_if<NPObject*>(&value)) variant.value.objectValue = Retain(*object);
  return variant;
}

bool TestHost::Call(NPObject* object, const std::string& method, const std::vector<Value>& args, NPVariant* result) {
  NpHost::VariantList variants;
  for (const Value& value : args) variants.Add(Make(value));
  NPClass* const table = object->_class;
  const NPIdentifier id = Id(method);
  const InPlugin called(true);
  return table->hasMethod(object, id) && table->invoke(object, id, variants.Data(), variants.Size(), result);
}

bool TestHost::Get(NPObject* object, const Key& key, NPVariant* result) {
  NPClass* const table = object->_class;
  const NPIdentifier id = Id(key);
  const InPlugin called(true);
  return table->hasProperty(object, id) && table->getProperty(object, id, result);
}

}  // namespace support
