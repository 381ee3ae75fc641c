#include "bridge/host/page_values.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <string>
#include <utility>

#include "bridge/host/copied_object.h"
#include "bridge/host/page_functions.h"
#include "bridge/host/protocol.h"
#include "bridge/host/result_keys.h"
#include "kit/nphost/host.h"

namespace Bridge {

using nlohmann::json;
using NpHost::Host;

namespace {

constexpr int kMaxDepth = 64;
constexpr int kMaxValues = 100'000;

NPVariant OfNumber(double number) {
  NPVariant variant{NPVariantType_Double, {}};
  variant.value.doubleValue = number;
  const bool isInteger = number >= INT32_MIN && number <= INT32_MAX && std::trunc(number) == number;
  if (!isInteger || (number == 0 && std::signbit(number))) return variant;
  variant.type = NPVariantType_Int32;
  variant.value.intValue = static_cast<int32_t>(number);
  return variant;
}

NPVariant OfObject(NPObject* object) {
  NPVariant variant{NPVariantType_Object, {}};
  variant.value.objectValue = object;
  return variant;
}

// Moves the value out of `owner`: the caller has to release it.
NPVariant Given(NpHost::Variant& owner) {
  return std::exchange(*owner.Get(), {NPVariantType_Void, {}});
}

double NumberWithoutJson(const std::string& name) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  if (name == "NaN") return std::numeric_limits<double>::quiet_NaN();
  if (name == "Infinity") return kInfinity;
  if (name == "-Infinity") return -kInfinity;
  if (name == "-0") return -0.0;
  throw ProtocolError("there is no number '" + name.substr(0, 40) + "'");
}

class Reader {
 public:
  explicit Reader(const PageContext& context) : context(context) {}

  NPVariant Read(const json& value, int depth) {
    const bool isUnreadable = value.is_object() && value.contains("unreadable");  // The extension does not count it.
    if (!isUnreadable && ++count > kMaxValues) throw ProtocolError("there are too many values");
    switch (value.type()) {
      case json::value_t::null:
        return {NPVariantType_Null, {}};
      case json::value_t::boolean: {
        NPVariant variant{NPVariantType_Bool, {}};
        variant.value.boolValue = value.get<bool>();
        return variant;
      }
      case json::value_t::string:
        return Host::Current().Text(value.get_ref<const std::string&>());
      case json::value_t::number_integer:
      case json::value_t::number_unsigned:
      case json::value_t::number_float:
        return OfNumber(value.get<double>());
      default:
        return ReadTagged(value, depth);
    }
  }

 private:
  NPVariant ReadTagged(const json& value, int depth) {
    if (!value.is_object() || value.size() != 1) throw ProtocolError("there is no such value");
    const std::string& kind = value.begin().key();
    const json& content = value.begin().value();
    if (kind == "undefined" && content == true) return {NPVariantType_Void, {}};
    if (kind == "number" && content.is_string()) return OfNumber(NumberWithoutJson(content.get<std::string>()));
    if (kind == "object" && content.is_array()) return ReadObject(content, depth);
    if (kind == "unreadable" && content == true) return Unreadable();
    if (kind == "function" && IsNumber(content)) return OfObject(context.functions.Take(content.get<uint32_t>()));
    if (kind == "plugin" && IsNumber(content)) {
      // The instance may have ended, or could not be made.
      NPObject* const object = context.pluginObject(content.get<uint32_t>());
      return object ? OfObject(Host::Current().Retain(object)) : Unreadable();
    }
    throw ProtocolError("there is no value of the kind '" + kind.substr(0, 40) + "'");
  }

  static bool IsNumber(const json& content) {
    return content.is_number_unsigned() && content.get<uint64_t>() <= UINT32_MAX;
  }

  static NPVariant Unreadable() {
    NpHost::Variant owner;
    CopiedObject::MakeIn(owner).SetUnreadable();
    return Given(owner);
  }

  NPVariant ReadObject(const json& members, int depth) {
    if (depth == kMaxDepth) throw ProtocolError("a value is too deep");
    NpHost::Variant owner;
    CopiedObject& object = CopiedObject::MakeIn(owner);
    for (const json& member : members) {
      if (!member.is_array() || member.size() != 2 || !member[0].is_string()) {
        throw ProtocolError("a member is no pair of a key and a value");
      }
      const NPIdentifier key = Host::Current().IdOfName(member[0].get_ref<const std::string&>());
      object.Add(key, Read(member[1], depth + 1));
    }
    return Given(owner);
  }

  const PageContext& context;
  int count = 0;
};

json WriteNumber(double number) {
  if (std::isnan(number)) return {{"number", "NaN"}};
  if (std::isinf(number)) return {{"number", number < 0 ? "-Infinity" : "Infinity"}};
  if (number == 0 && std::signbit(number)) return {{"number", "-0"}};
  return number;
}

// Nothing when the object has no such member.
std::optional<json> WriteMember(NPObject* object, NPIdentifier key) {
  const NPClass& table = *object->_class;
  if (!table.hasProperty || !table.hasProperty(object, key)) return std::nullopt;
  NpHost::Variant value;
  if (!table.getProperty || !table.getProperty(object, key, value.Get())) return std::nullopt;
  return WriteValue(*value.Get());
}

json WriteObject(NPObject* object) {
  Host& host = Host::Current();
  const std::optional<json> length = WriteMember(object, host.IdOfName("length"));
  if (length && length->is_number_integer()) {
    json elements = json::array();
    const int32_t count = std::min(length->get<int32_t>(), kMaxValues);
    for (int32_t at = 0; at < count; ++at) {
      elements.push_back(WriteMember(object, host.Id(at)).value_or(json{{"undefined", true}}));
    }
    return {{"array", std::move(elements)}};
  }
  json members = json::array();
  for (const char* key : kResultKeys) {
    if (auto value = WriteMember(object, host.IdOfName(key))) {
      members.push_back(json::array({key, std::move(*value)}));
    }
  }
  return {{"object", std::move(members)}};
}

}  // namespace

void ReadValues(const json& values, const PageContext& context, NpHost::VariantList& list) {
  Reader reader(context);
  for (const json& value : values) list.Add(reader.Read(value, 0));
}

json WriteValue(const NPVariant& value) {
  switch (value.type) {
    case NPVariantType_Void:
      break;
    case NPVariantType_Null:
      return nullptr;
    case NPVariantType_Bool:
      return value.value.boolValue;
    case NPVariantType_Int32:
      return value.value.intValue;
    case NPVariantType_Double:
      return WriteNumber(value.value.doubleValue);
    case NPVariantType_String:
      return std::string(value.value.stringValue.UTF8Characters, value.value.stringValue.UTF8Length);
    case NPVariantType_Object:
      return WriteObject(value.value.objectValue);
  }
  return {{"undefined", true}};
}

NPObject* MakeWindow(const std::string& address) {
  NpHost::Variant location;
  CopiedObject::MakeIn(location).SetText(address);
  NpHost::Variant window;
  CopiedObject::MakeIn(window).Add(Host::Current().IdOfName("location"), Given(location));
  return Given(window).value.objectValue;
}

}  // namespace Bridge
