#include "script/variant_conversion.h"

#include <cstring>
#include <stdexcept>
#include <string>
#include <utility>

#include "base/guarded_memory.h"
#include "script/errors.h"
#include "script/host_values.h"
#include "script/js_to_np_bridge.h"

namespace NorvoWebAPI::NPJSConverter {
namespace {

// Reads a variant and, recursively, the members of objects in it.
class VariantReader {
 public:
  VariantReader(NPP instance, const NPNetscapeFuncs* npnFuncs, const InstanceLife& instanceLife)
      : npp(instance), funcs(npnFuncs), life(instanceLife) {}

  JSObject Read(const NPVariant& variant) {
    Spend(valuesLeft, 1);
    switch (variant.type) {
      case NPVariantType_Bool:
        return JSObject(variant.value.boolValue);
      case NPVariantType_Int32:
        return JSObject(variant.value.intValue);
      case NPVariantType_Double:
        return JSObject(variant.value.doubleValue);
      case NPVariantType_String: {
        const NPString& text = variant.value.stringValue;
        Spend(textBytesLeft, text.UTF8Length);
        return JSObject(TextOf(text));
      }
      case NPVariantType_Object:
        return ReadObject(variant.value.objectValue);
      default:
        return {};
    }
  }

 private:
  static void Spend(size_t& left, size_t amount) {
    if (amount > left) throw std::runtime_error("Script value too large");
    left -= amount;
  }

  JSObject ReadObject(NPObject* object) {
    if (depth == kMaxDepth) throw std::runtime_error("Script value too deep");
    ++depth;
    life.DemandAlive();
    NPIdentifier* list = nullptr;
    uint32_t count = 0;
    if (!funcs->enumerate(npp, object, &list, &count)) {
      throw std::runtime_error("Unable to enumerate NPObject properties");
    }
    const HostMemory<NPIdentifier> ids(funcs, list);
    // Each call below may run a getter of the page's, which may end the instance.
    life.DemandAlive();
    JSObject members;
    for (uint32_t i = 0; i < count; ++i) {
      std::string key = KeyOf(list[i]);
      HostVariant element(funcs);
      if (!funcs->getproperty(npp, object, list[i], element.Out())) {
        throw std::runtime_error("Failed to get propertly value");
      }
      life.DemandAlive();
      members[key] = Read(element.Get());
    }
    --depth;
    return members;
  }

  std::string KeyOf(NPIdentifier id) {
    if (!funcs->identifierisstring(id)) return std::to_string(funcs->intfromidentifier(id));
    std::string text = IdentifierText(funcs, id);
    Spend(textBytesLeft, text.size());
    return text;
  }

  NPP npp;
  const NPNetscapeFuncs* funcs;
  const InstanceLife& life;
  size_t depth = 0;  // Objects whose members are being read.
  size_t valuesLeft = kMaxValues;
  size_t textBytesLeft = kMaxTextBytes;
};

}  // namespace

JSObject fromNPVariant(NPP npp, const NPNetscapeFuncs* funcs, const NPVariant* value, const InstanceLife& life) {
  if (!funcs) throw BadTypeid();
  return VariantReader(npp, funcs, life).Read(*value);
}

NPVariant TextVariant(const NPNetscapeFuncs* funcs, const std::string& text) {
  const size_t size = text.size() + 1;
  auto* const copy = static_cast<char*>(funcs->memalloc(static_cast<uint32_t>(size)));
  Platform::memcpy(copy, size, text.c_str(), size);
  NPVariant variant{NPVariantType_String, {}};
  variant.value.stringValue = {copy, static_cast<uint32_t>(std::strlen(copy))};
  return variant;
}

NPVariant toNPVariant(NPP npp, const NPNetscapeFuncs* funcs, JSObject value, std::shared_ptr<const InstanceLife> life) {
  if (!funcs) throw BadTypeid();
  NPVariant variant{NPVariantType_Null, {}};
  switch (value.GetType()) {
    case JSObject::Type::Null:
      break;
    case JSObject::Type::Bool:
      variant.type = NPVariantType_Bool;
      variant.value.boolValue = value.ToBool();
      break;
    case JSObject::Type::Int:
      variant.type = NPVariantType_Int32;
      variant.value.intValue = value.ToInt();
      break;
    case JSObject::Type::Double:
      variant.type = NPVariantType_Double;
      variant.value.doubleValue = value.ToDouble();
      break;
    case JSObject::Type::String:
      return TextVariant(funcs, value.AsString());
    case JSObject::Type::Array:
    case JSObject::Type::Object:
      variant.value.objectValue = MakeScriptView(std::move(value), npp, funcs, std::move(life));
      variant.type = NPVariantType_Object;
      break;
    default:
      throw std::invalid_argument("Unknown JSObject in conversion to NPVariant");
  }
  return variant;
}

}  // namespace NorvoWebAPI::NPJSConverter
