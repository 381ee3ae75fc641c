#include "script/js_object.h"

#include <limits>
#include <optional>
#include <stdexcept>
#include <utility>

#include "base/decimal.h"
#include "script/errors.h"

namespace NorvoWebAPI {
namespace {

constexpr char kLength[] = "length";

int32_t Truncate(double value) {
  // A value out of range gives the smallest number, as the processor's own conversion does.
  constexpr double kBeyond = 2147483648.0;
  return value > -kBeyond && value < kBeyond ? static_cast<int32_t>(value) : std::numeric_limits<int32_t>::min();
}

bool IsIndex(int32_t number) {
  return number >= 0 && static_cast<uint32_t>(number) < JSObject::kMaxElements;
}

uint32_t IndexOf(const std::string& key) {
  const std::optional<int32_t> number = ReadDecimal<int32_t>(key);
  if (!number) throw std::runtime_error("String not an integer");
  return static_cast<uint32_t>(*number);
}

}  // namespace

JSObject::JSObject(int32_t value) : type(Type::Int), intValue(value) {}
JSObject::JSObject(bool value) : type(Type::Bool), boolValue(value) {}
JSObject::JSObject(double value) : type(Type::Double), doubleValue(value) {}
JSObject::JSObject(std::string value)
    : type(Type::String), stringValue(std::make_unique<std::string>(std::move(value))) {}
JSObject::JSObject(const char* value) : JSObject(std::string(value)) {}
JSObject::JSObject(JSFunction called, void* context)
    : type(Type::Function), function(called), functionContext(context) {
  if (!called) throw BadTypeid();
}

JSObject::JSObject(const JSObject& other)
    : type(other.type),
      intValue(other.intValue),
      boolValue(other.boolValue),
      doubleValue(other.doubleValue),
      function(other.function),
      functionContext(other.functionContext) {
  switch (type) {
    case Type::String:
      stringValue = std::make_unique<std::string>(*other.stringValue);
      break;
    case Type::Array:
      arrayValue = std::make_unique<std::vector<JSObject>>(*other.arrayValue);
      objectValue = std::make_unique<Members>();
      break;
    case Type::Object:
      objectValue = std::make_unique<Members>(*other.objectValue);
      break;
    default:
      break;
  }
}

JSObject::JSObject(JSObject&& other) noexcept {
  Swap(other);
}

JSObject& JSObject::operator=(JSObject other) noexcept {
  Swap(other);
  return *this;
}

JSObject::~JSObject() = default;

JSObject& JSObject::operator[](const std::string& key) {
  if (type == Type::Null) {
    objectValue = std::make_unique<Members>();
    type = Type::Object;
  }
  if (type == Type::Object) return (*objectValue)[key];
  if (type != Type::Array) throw std::runtime_error("Property request on non-object");
  if (key == kLength) {
    JSObject& length = (*objectValue)[key];
    length = JSObject(static_cast<int32_t>(arrayValue->size()));
    return length;
  }
  return (*this)[IndexOf(key)];
}

JSObject& JSObject::operator[](uint32_t index) {
  if (type != Type::Null && type != Type::Array) throw std::runtime_error("Index request on non-array");
  if (index >= kMaxElements) throw std::runtime_error("Index out of range");
  ToArray();
  if (arrayValue->size() <= index) arrayValue->resize(static_cast<size_t>(index) + 1);
  return (*arrayValue)[index];
}

void JSObject::ToArray() {
  switch (type) {
    case Type::Array:
      return;
    case Type::Null:
      arrayValue = std::make_unique<std::vector<JSObject>>();
      objectValue = std::make_unique<Members>();
      type = Type::Array;
      return;
    case Type::Object: {
      JSObject array;
      for (const auto& [key, value] : *objectValue) {
        if (key != kLength) array[IndexOf(key)] = value;
      }
      Swap(array);
      return;
    }
    default:
      throw std::runtime_error("Cannot convert non-object to array");
  }
}

bool JSObject::Call(std::vector<JSObject>& args, JSObject& result) {
  if (type != Type::Function) throw std::runtime_error("Function call request on non-function");
  return function(functionContext, &args, &result);
}

int32_t JSObject::ToInt() const {
  switch (type) {
    case Type::Int:
      return intValue;
    case Type::Bool:
      return boolValue ? 1 : 0;
    case Type::Double:
      return Truncate(doubleValue);
    case Type::String:
      return stringValue->empty() ? 0 : 1;
    case Type::Null:
      return 0;
    default:
      return 1;
  }
}

bool JSObject::ToBool() const {
  return ToInt() == 1;
}

double JSObject::ToDouble() const {
  return type == Type::Double ? doubleValue : ToInt();
}

const std::string& JSObject::AsString() const {
  if (type != Type::String) throw BadCast();
  return *stringValue;
}

bool JSObject::HasKey(const std::string& key) const {
  if (type == Type::Object) return objectValue->contains(key);
  if (type != Type::Array) return false;
  const std::optional<int32_t> number = ReadDecimal<int32_t>(key);
  return key == kLength || (number && IsIndex(*number));
}

uint32_t JSObject::ElementCount() const {
  return type == Type::Array ? static_cast<uint32_t>(arrayValue->size()) : 0;
}

void JSObject::Swap(JSObject& other) noexcept {
  std::swap(type, other.type);
  std::swap(intValue, other.intValue);
  std::swap(boolValue, other.boolValue);
  std::swap(doubleValue, other.doubleValue);
  std::swap(stringValue, other.stringValue);
  std::swap(arrayValue, other.arrayValue);
  std::swap(function, other.function);
  std::swap(functionContext, other.functionContext);
  std::swap(objectValue, other.objectValue);
}

}  // namespace NorvoWebAPI
