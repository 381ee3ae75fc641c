#include "kit/host/host_table.h"

#include <cstring>

#include "kit/host/accounts.h"
#include "kit/host/complain.h"
#include "kit/host/plugin_objects.h"
#include "kit/host/script_engine.h"
#include "kit/host/script_values.h"

namespace Kit {
namespace {

constexpr uint16_t kInterfaceVersion = 27;

NPError GetValue(NPP /*instance*/, NPNVariable variable, void* out) {
  ScriptEngine* const engine = ScriptEngine::Current();
  if (variable != NPNVWindowNPObject || !engine) return NPERR_GENERIC_ERROR;
  NPObject* const window = engine->Window();
  *static_cast<NPObject**>(out) = window;
  return window ? NPERR_NO_ERROR : NPERR_OUT_OF_MEMORY_ERROR;
}

NPUTF8* TextOfIdentifier(NPIdentifier identifier) {
  const auto* const text = std::get_if<std::string>(&KeyOf(identifier));
  if (!text) return nullptr;
  const size_t size = text->size() + 1;
  auto* const copy = static_cast<NPUTF8*>(Accounts::Instance().Allocate(static_cast<uint32_t>(size)));
  if (copy) std::memcpy(copy, text->c_str(), size);
  return copy;
}

void GetStringIdentifiers(const NPUTF8** names, int32_t count, NPIdentifier* identifiers) {
  for (int32_t at = 0; at < count; ++at) identifiers[at] = names[at] ? IdentifierOf(std::string(names[at])) : nullptr;
}

NPError RefuseUrl(NPP /*instance*/, const char* url, const char* /*target*/, void* /*notifyData*/) {
  Complain("The plug-in asked for " + std::string(url ? url : "nothing") + ": the page host fetches no addresses.");
  return NPERR_GENERIC_ERROR;
}

// A call on an object goes to the entry of its class, whoever made it; a class need not have every entry. The result
// is the caller's from the start.
template <auto NPClass::*kEntry, typename... Arguments>
bool Forward(NPP /*instance*/, NPObject* object, Arguments... arguments) {
  const auto entry = object ? object->_class->*kEntry : nullptr;
  return entry && entry(object, arguments...);
}

template <auto NPClass::*kEntry>
bool ForwardCall(NPP instance, NPObject* object, const NPVariant* args, uint32_t count, NPVariant* result) {
  *result = {NPVariantType_Void, {}};
  return Forward<kEntry>(instance, object, args, count, result);
}

bool Invoke(NPP instance, NPObject* object, NPIdentifier id, const NPVariant* args, uint32_t count, NPVariant* result) {
  *result = {NPVariantType_Void, {}};
  return Forward<&NPClass::invoke>(instance, object, id, args, count, result);
}

bool GetProperty(NPP instance, NPObject* object, NPIdentifier id, NPVariant* result) {
  *result = {NPVariantType_Void, {}};
  return Forward<&NPClass::getProperty>(instance, object, id, result);
}

}  // namespace

NPNetscapeFuncs& HostTable() {
  static NPNetscapeFuncs table = [] {
    NPNetscapeFuncs funcs{};
    funcs.size = sizeof funcs;
    funcs.version = kInterfaceVersion;
    funcs.status = [](NPP, const char* message) { Complain(std::string("The plug-in's status: ") + message); };
    funcs.uagent = [](NPP) { return "ksv-host"; };
    funcs.memalloc = [](uint32_t size) { return Accounts::Instance().Allocate(size); };
    funcs.memfree = [](void* block) { Accounts::Instance().Free(block); };
    funcs.memflush = [](uint32_t) -> uint32_t { return 0; };
    funcs.geturlnotify = RefuseUrl;
    funcs.getvalue = GetValue;
    funcs.getstringidentifier = [](const NPUTF8* name) { return IdentifierOf(std::string(name)); };
    funcs.getstringidentifiers = GetStringIdentifiers;
    funcs.getintidentifier = [](int32_t number) { return IdentifierOf(number); };
    funcs.identifierisstring = [](NPIdentifier id) { return std::holds_alternative<std::string>(KeyOf(id)); };
    funcs.utf8fromidentifier = TextOfIdentifier;
    funcs.intfromidentifier = [](NPIdentifier id) {
      const auto* const number = std::get_if<int32_t>(&KeyOf(id));
      return number ? *number : INT32_MIN;
    };
    funcs.createobject = [](NPP npp, NPClass* objectClass) { return Accounts::Instance().Create(npp, objectClass); };
    funcs.retainobject = [](NPObject* object) { return Accounts::Instance().Retain(object); };
    funcs.releaseobject = [](NPObject* object) { Accounts::Instance().Release(object); };
    funcs.invoke = Invoke;
    funcs.invokeDefault = ForwardCall<&NPClass::invokeDefault>;
    funcs.construct = ForwardCall<&NPClass::construct>;
    funcs.getproperty = GetProperty;
    funcs.setproperty = Forward<&NPClass::setProperty, NPIdentifier, const NPVariant*>;
    funcs.removeproperty = Forward<&NPClass::removeProperty, NPIdentifier>;
    funcs.hasproperty = Forward<&NPClass::hasProperty, NPIdentifier>;
    funcs.hasmethod = Forward<&NPClass::hasMethod, NPIdentifier>;
    funcs.enumerate = Forward<&NPClass::enumerate, NPIdentifier**, uint32_t*>;
    funcs.releasevariantvalue = [](NPVariant* variant) { ReleaseVariant(*variant); };
    funcs.setexception = [](NPObject*, const NPUTF8* message) { SetPluginException(message); };
    return funcs;
  }();
  return table;
}

}  // namespace Kit
