#include "kit/nphost/host_table.h"

#include <cstdint>
#include <string>

#include "kit/nphost/host.h"

namespace NpHost {
namespace {

constexpr uint16_t kInterfaceVersion = 27;

NPIdentifier IdOfText(const NPUTF8* name) {
  return name ? Host::Current().Id(std::string(name)) : nullptr;
}

// A call on an object goes to the entry of its class, whoever made it; a class need not have every entry.
template <auto kEntry, typename... Arguments>
bool Forward(NPObject* object, Arguments... arguments) {
  const auto entry = object->_class->*kEntry;
  return entry && entry(object, arguments...);
}

}  // namespace

void HostTable::Fill(NPNetscapeFuncs& funcs) {
  // The name of the host function is that of the table's entry, as the plug-in's author reads it.
  static const auto isCallable = [](NPP npp, NPObject* object, const char* call) {
    Host& host = Host::Current();
    return host.DemandInstance(npp, call) && host.DemandLive(object, call);
  };
  static constexpr NPVariant kUndefined{NPVariantType_Void, {}};

  funcs.size = sizeof funcs;
  funcs.version = kInterfaceVersion;
  funcs.status = [](NPP npp, const char* message) noexcept { Host::Current().ShowStatus(npp, message); };
  funcs.uagent = [](NPP) noexcept { return Host::Current().UserAgent(); };
  funcs.memalloc = [](uint32_t size) noexcept { return Host::Current().Allocate(size); };
  funcs.memfree = [](void* block) noexcept { Host::Current().Free(block); };
  funcs.memflush = [](uint32_t) noexcept { return uint32_t{0}; };
  funcs.geturlnotify = [](NPP npp, const char* url, const char* target, void* notifyData) noexcept {
    Host& host = Host::Current();
    return host.DemandInstance(npp, "NPN_GetURLNotify") ? host.GetUrlNotify(npp, url, target, notifyData)
                                                        : NPError{NPERR_INVALID_INSTANCE_ERROR};
  };
  funcs.getvalue = [](NPP npp, NPNVariable variable, void* out) noexcept {
    return Host::Current().GetValue(npp, variable, out);
  };
  funcs.getstringidentifier = [](const NPUTF8* name) noexcept { return IdOfText(name); };
  funcs.getstringidentifiers = [](const NPUTF8** names, int32_t count, NPIdentifier* identifiers) noexcept {
    for (int32_t at = 0; at < count; ++at) identifiers[at] = IdOfText(names[at]);
  };
  funcs.getintidentifier = [](int32_t number) noexcept { return Host::Current().Id(number); };
  funcs.identifierisstring = [](NPIdentifier id) noexcept {
    return std::holds_alternative<std::string>(Host::Current().KeyOf(id));
  };
  funcs.utf8fromidentifier = [](NPIdentifier id) noexcept { return Host::Current().Utf8FromIdentifier(id); };
  funcs.intfromidentifier = [](NPIdentifier id) noexcept { return Host::Current().IntFromIdentifier(id); };
  funcs.createobject = [](NPP npp, NPClass* aClass) noexcept { return Host::Current().CreateObject(npp, aClass); };
  funcs.retainobject = [](NPObject* object) noexcept { return Host::Current().Retain(object); };
  funcs.releaseobject = [](NPObject* object) noexcept { Host::Current().Release(object); };
  funcs.releasevariantvalue = [](NPVariant* variant) noexcept { Host::Current().Release(*variant); };
  funcs.setexception = [](NPObject* object, const NPUTF8* message) noexcept {
    Host::Current().SetException(object, message);
  };

  funcs.hasproperty = [](NPP npp, NPObject* object, NPIdentifier id) noexcept {
    return isCallable(npp, object, "NPN_HasProperty") && Forward<&NPClass::hasProperty>(object, id);
  };
  funcs.hasmethod = [](NPP npp, NPObject* object, NPIdentifier id) noexcept {
    return isCallable(npp, object, "NPN_HasMethod") && Forward<&NPClass::hasMethod>(object, id);
  };
  funcs.setproperty = [](NPP npp, NPObject* object, NPIdentifier id, const NPVariant* value) noexcept {
    return isCallable(npp, object, "NPN_SetProperty") && Forward<&NPClass::setProperty>(object, id, value);
  };
  funcs.removeproperty = [](NPP npp, NPObject* object, NPIdentifier id) noexcept {
    return isCallable(npp, object, "NPN_RemoveProperty") && Forward<&NPClass::removeProperty>(object, id);
  };
  funcs.enumerate = [](NPP npp, NPObject* object, NPIdentifier** ids, uint32_t* count) noexcept {
    return isCallable(npp, object, "NPN_Enumerate") && Forward<&NPClass::enumerate>(object, ids, count);
  };
  // A result is the caller's from the start, whatever comes of the call.
  funcs.getproperty = [](NPP npp, NPObject* object, NPIdentifier id, NPVariant* result) noexcept {
    *result = kUndefined;
    return isCallable(npp, object, "NPN_GetProperty") && Forward<&NPClass::getProperty>(object, id, result);
  };
  funcs.invoke = [](NPP npp, NPObject* object, NPIdentifier id, const NPVariant* args, uint32_t count,
                    NPVariant* result) noexcept {
    *result = kUndefined;
    return isCallable(npp, object, "NPN_Invoke") && Forward<&NPClass::invoke>(object, id, args, count, result);
  };
  funcs.invokeDefault = [](NPP npp, NPObject* object, const NPVariant* args, uint32_t count,
                           NPVariant* result) noexcept {
    *result = kUndefined;
    return isCallable(npp, object, "NPN_InvokeDefault") &&
           Forward<&NPClass::invokeDefault>(object, args, count, result);
  };
  funcs.construct = [](NPP npp, NPObject* object, const NPVariant* args, uint32_t count, NPVariant* result) noexcept {
    *result = kUndefined;
    return isCallable(npp, object, "NPN_Construct") && Forward<&NPClass::construct>(object, args, count, result);
  };
}

}  // namespace NpHost
