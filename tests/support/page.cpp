#include "tests/support/page.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "tests/support/module_exports.h"
#include "tests/support/nth_failure.h"

namespace support {
namespace {

constexpr char kShownKeys[] =
    "pluginRetCode fnRetCode sessionHandle version instanceID instanceId requiredDataLen requiredEncTokenLen "
    "requiredOTPDataLen requiredEncTokenDataLen b64Data b64OTP OTP b64EncToken tokenFileNames ImageId "
    "ClientInput b64WysData Length status ButtonUpCount manufacturer model serialNumber promptRequired XCode "
    "YCode callback";

template <typename Type>
Type Demand(const Value& value) {
  const auto* const held = std::get_if<Type>(&value);
  EXPECT_TRUE(held) << "another type";
  return held ? *held : Type{};
}

}  // namespace

Result::~Result() {
  // The host has ended the objects of an instance that is gone.
  const bool hasEnded = variant.type == NPVariantType_Object && host->References(variant.value.objectValue) == 0;
  if (!hasEnded) host->Release(variant);
}

Result::Result(Result&& other) noexcept
    : host(other.host),
      answered(other.answered),
      variant(std::exchange(other.variant, NPVariant{NPVariantType_Void, {}})) {}

NPObject* Result::Object() const {
  if (variant.type == NPVariantType_Object) return variant.value.objectValue;
  ADD_FAILURE() << "the result is no object";
  return nullptr;
}

bool Result::Has(const Key& key) const {
  NPObject* const object = Object();
  if (!object) return false;
  const NPIdentifier id = host->Id(key);
  const InPlugin called(true);
  return object->_class->hasProperty(object, id);
}

Result Result::Member(const Key& key) const {
  NPVariant value{NPVariantType_Void, {}};
  NPObject* const object = Object();
  const bool read = object && host->Get(object, key, &value);
  return {*host, read, value};
}

int32_t Result::Int(const Key& key) const {
  return Demand<int32_t>(Member(key).Get());
}

std::string Result::Text(const Key& key) const {
  return Demand<std::string>(Member(key).Get());
}

std::string Result::Show() const {
  if (!answered) return "failed";
  const Value value = Get();
  if (std::holds_alternative<std::monostate>(value)) return "nothing";
  if (std::holds_alternative<std::nullptr_t>(value)) return "null";
  if (const auto* number = std::get_if<int32_t>(&value)) return std::to_string(*number);
  if (const auto* flag = std::get_if<bool>(&value)) return *flag ? "true" : "false";
  if (const auto* text = std::get_if<std::string>(&value)) {
    std::string line = *text;
    std::erase(line, '\n');
    return "'" + line + "'";
  }
  std::string shown;
  const auto add = [&](const std::string& part) { shown += (shown.empty() ? "" : " ") + part; };
  if (Has("length")) {
    const Value length = Member("length").Get();  // None when the host fails at it.
    const auto* const count = std::get_if<int32_t>(&length);
    for (int32_t i = 0; count && i < *count; ++i) add(Member(i).Show());
    return "[" + shown + "]";
  }
  std::istringstream keys(kShownKeys);
  for (std::string key; keys >> key;) {
    if (Has(key)) add(key + "=" + Member(key).Show());
  }
  return shown;
}

const NPPluginFuncs& Module() {
  static const NPPluginFuncs table = [] {
    NPPluginFuncs funcs{};
    funcs.size = sizeof funcs;
    EXPECT_EQ(NP_GetEntryPoints(&funcs), NPERR_NO_ERROR);
    return funcs;
  }();
  return table;
}

Page::Page(TestHost& host, const std::string& address, void* window)
    : host(host), instance(host, Module(), host.NewInstance(address), "application/x-vnd-norvo-webapi-ksv-5.0.9") {
  EXPECT_EQ(instance.SetWindow(window ? window : Instance(), 0, 0), NPERR_NO_ERROR);
  object = instance.Scriptable();
}

Result Page::Call(const std::string& method, const std::vector<Value>& args) const {
  NPVariant result{NPVariantType_Void, {}};
  const bool answered = host.Call(object, method, args, &result);
  return {host, answered, result};
}

Result Page::Read(const Key& key) const {
  NPVariant value{NPVariantType_Void, {}};
  const bool read = host.Get(object, key, &value);
  return {host, read, value};
}

void Page::Destroy() {
  EXPECT_EQ(instance.Destroy(), NPERR_NO_ERROR);
}

void Page::End() {
  object = nullptr;
  Destroy();
  instance.End();
}

}  // namespace support
