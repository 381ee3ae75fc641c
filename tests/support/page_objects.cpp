#include "tests/support/page_objects.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <iterator>

#include "tests/support/nth_failure.h"
#include "tests/support/test_host.h"

namespace support {
namespace {

ScriptObject& Of(NPObject* object) {
  return *static_cast<ScriptObject*>(object);
}

bool Call(NPObject* object, const NPVariant* args, uint32_t count, NPVariant* result) {
  const auto entry = object->_class->invokeDefault;
  return entry && entry(object, args, count, result);
}

// The host owns the object's memory, so that a use after the end is seen.
void End(NPObject* object) {
  Of(object).members.clear();
  Of(object).function = nullptr;
  std::memset(static_cast<void*>(object), NpHost::kPoison, sizeof *object);
}

// --- What runs page script: the page may end there, and what it does itself never fails.

bool HasProperty(NPObject* object, NPIdentifier id) {
  PageMayEnd();
  return Of(object).Find(TestHost::Current().KeyOf(id)) != nullptr;
}

bool GetProperty(NPObject* object, NPIdentifier id, NPVariant* result) {
  PageMayEnd();
  const Getter* const known = Of(object).Find(TestHost::Current().KeyOf(id));
  if (!known) return false;
  const InPlugin page(false);
  const Getter getter = *known;  // The page may change the member from inside.
  *result = TestHost::Current().Make(getter());
  return true;
}

bool InvokeDefault(NPObject* object, const NPVariant* args, uint32_t count, NPVariant* result) {
  EXPECT_EQ(args == nullptr, count == 0) << "arguments of a call";
  PageMayEnd();
  const InPlugin page(false);
  const Function function = Of(object).function;
  if (!function) return false;
  std::vector<Value> values;
  std::transform(args, args + count, std::back_inserter(values), ReadValue);
  Value answer;
  const bool answered = function(values, answer);
  *result = TestHost::Current().Make(answered ? answer : Value(nullptr));
  return answered;
}

bool Invoke(NPObject* object, NPIdentifier id, const NPVariant* args, uint32_t count, NPVariant* result) {
  const Getter* const method = Of(object).Find(TestHost::Current().KeyOf(id));
  if (!method) return false;
  const InPlugin page(false);
  const Value function = (*method)();
  return std::holds_alternative<NPObject*>(function) && Call(std::get<NPObject*>(function), args, count, result);
}

bool Enumerate(NPObject* object, NPIdentifier** ids, uint32_t* count) {
  PageMayEnd();
  const InPlugin page(false);
  TestHost& host = TestHost::Current();
  const auto& members = Of(object).members;
  *count = static_cast<uint32_t>(members.size());
  *ids = static_cast<NPIdentifier*>(host.Allocate(members.size() * sizeof(NPIdentifier)));
  std::ranges::transform(members, *ids, [&](const auto& member) { return host.Id(member.first); });
  return true;
}

NPClass pageClass{NP_CLASS_STRUCT_VERSION,
                  nullptr,
                  End,
                  nullptr,
                  nullptr,
                  Invoke,
                  InvokeDefault,
                  HasProperty,
                  GetProperty,
                  nullptr,
                  nullptr,
                  Enumerate,
                  nullptr};

}  // namespace

ScriptObject::ScriptObject() : NPObject{&pageClass, 0} {}

ScriptObject& ScriptObject::Define(Key key, Getter getter) {
  const auto known = std::ranges::find(members, key, [](const auto& member) { return member.first; });
  if (known != members.end()) {
    known->second = std::move(getter);
  } else {
    members.emplace_back(std::move(key), std::move(getter));
  }
  return *this;
}

const Getter* ScriptObject::Find(const Key& key) const {
  const auto found = std::ranges::find(members, key, [](const auto& member) -> const Key& { return member.first; });
  return found == members.end() ? nullptr : &found->second;
}

Value ReadValue(const NPVariant& variant) {
  const auto& [type, value] = variant;
  if (type == NPVariantType_Null) return nullptr;
  if (type == NPVariantType_Bool) return value.boolValue;
  if (type == NPVariantType_Int32) return value.intValue;
  if (type == NPVariantType_Double) return value.doubleValue;
  if (type == NPVariantType_Object) return value.objectValue;
  if (type != NPVariantType_String) return {};
  return std::string(value.stringValue.UTF8Characters, value.stringValue.UTF8Length);
}

}  // namespace support
