// A plug-in that does nothing but what its page asks: it shows how the page host treats values, references and errors.
// Its object has `echo(value)`, `call(function, argument…)`, `keys(object)`, `refuse()`, `raise(text)`, `identity(a,
// b)`, `keep(value)`, which keeps a reference for good, and a property `value` that can be written, read and removed.
#include <cstring>
#include <set>
#include <string>

#include "npapi/npfunctions.h"
#include "shell/exports.h"

namespace {

NPNetscapeFuncs host;

struct Probe : NPObject {
  NPP instance;
  NPVariant value{NPVariantType_Void, {}};
};

std::string NameOf(NPIdentifier id) {
  if (!host.identifierisstring(id)) return {};
  NPUTF8* const text = host.utf8fromidentifier(id);
  std::string name = text;
  host.memfree(text);
  return name;
}

NPVariant TextVariant(const std::string& text) {
  NPVariant variant{NPVariantType_String, {}};
  auto* const copy = static_cast<char*>(host.memalloc(static_cast<uint32_t>(text.size())));
  std::memcpy(copy, text.data(), text.size());
  variant.value.stringValue = {copy, static_cast<uint32_t>(text.size())};
  return variant;
}

NPVariant Copy(const NPVariant& from) {
  if (from.type == NPVariantType_String) {
    return TextVariant({from.value.stringValue.UTF8Characters, from.value.stringValue.UTF8Length});
  }
  if (from.type == NPVariantType_Object) host.retainobject(from.value.objectValue);
  return from;
}

// The members of an object by name and number, `name` or `#number`, as they are listed.
NPVariant Keys(NPP instance, NPObject* object) {
  NPIdentifier* ids = nullptr;
  uint32_t count = 0;
  std::string keys;
  if (host.enumerate(instance, object, &ids, &count)) {
    for (uint32_t at = 0; at < count; ++at) {
      const bool isName = host.identifierisstring(ids[at]);
      // Not by `+`, in which the Windows compiler sees an overlapping copy.
      if (!isName) keys += "#";
      keys += isName ? NameOf(ids[at]) : std::to_string(host.intfromidentifier(ids[at]));
      keys += " ";
    }
    host.memfree(ids);
  }
  return TextVariant(keys);
}

bool Invoke(NPObject* object, NPIdentifier id, const NPVariant* args, uint32_t count, NPVariant* result) {
  const std::string name = NameOf(id);
  const NPP instance = static_cast<Probe*>(object)->instance;
  if (count == 0) return false;
  NPObject* const first = args[0].type == NPVariantType_Object ? args[0].value.objectValue : nullptr;
  if (name == "echo") return *result = Copy(args[0]), true;
  if (name == "call") return host.invokeDefault(instance, first, args + 1, count - 1, result);
  if (name == "keys") return *result = Keys(instance, first), true;
  if (name == "keep") return host.retainobject(first) != nullptr;
  if (name == "identity" && count == 2) {
    result->type = NPVariantType_Bool;
    result->value.boolValue = first == args[1].value.objectValue;
    return true;
  }
  const NPString& text = args[0].value.stringValue;
  if (name == "raise") host.setexception(object, std::string(text.UTF8Characters, text.UTF8Length).c_str());
  return false;
}

bool HasMethod(NPObject* /*object*/, NPIdentifier id) {
  static const std::set<std::string> methods{"echo", "call", "keys", "refuse", "raise", "identity", "keep"};
  return methods.contains(NameOf(id));
}

bool HasProperty(NPObject* object, NPIdentifier id) {
  return NameOf(id) == "value" && static_cast<Probe*>(object)->value.type != NPVariantType_Void;
}

bool GetProperty(NPObject* object, NPIdentifier /*id*/, NPVariant* result) {
  *result = Copy(static_cast<Probe*>(object)->value);
  return true;
}

bool RemoveProperty(NPObject* object, NPIdentifier id) {
  if (NameOf(id) != "value") return false;
  host.releasevariantvalue(&static_cast<Probe*>(object)->value);
  static_cast<Probe*>(object)->value = {NPVariantType_Void, {}};
  return true;
}

bool SetProperty(NPObject* object, NPIdentifier id, const NPVariant* value) {
  if (!RemoveProperty(object, id)) return false;
  static_cast<Probe*>(object)->value = Copy(*value);
  return true;
}

bool Enumerate(NPObject* /*object*/, NPIdentifier** ids, uint32_t* count) {
  *ids = static_cast<NPIdentifier*>(host.memalloc(sizeof(NPIdentifier)));
  **ids = host.getstringidentifier("value");
  *count = 1;
  return true;
}

NPObject* Allocate(NPP instance, NPClass* /*objectClass*/) {
  return new Probe{{}, instance};
}

void Deallocate(NPObject* object) {
  host.releasevariantvalue(&static_cast<Probe*>(object)->value);
  delete static_cast<Probe*>(object);
}

NPClass probeClass{NP_CLASS_STRUCT_VERSION,
                   Allocate,
                   Deallocate,
                   nullptr,
                   HasMethod,
                   Invoke,
                   nullptr,
                   HasProperty,
                   GetProperty,
                   SetProperty,
                   RemoveProperty,
                   Enumerate,
                   nullptr};

NPError New(NPMIMEType, NPP instance, uint16_t, int16_t, char*[], char*[], NPSavedData*) {
  instance->pdata = host.createobject(instance, &probeClass);
  return NPERR_NO_ERROR;
}

NPError Destroy(NPP instance, NPSavedData**) {
  host.releaseobject(static_cast<NPObject*>(instance->pdata));
  return NPERR_NO_ERROR;
}

NPError GetValue(NPP instance, NPPVariable variable, void* out) {
  if (variable != NPPVpluginScriptableNPObject) return NPERR_GENERIC_ERROR;
  *static_cast<NPObject**>(out) = host.retainobject(static_cast<NPObject*>(instance->pdata));
  return NPERR_NO_ERROR;
}

// Not by the export: a program that has one of that name would run its own.
NPError FillTable(NPPluginFuncs* funcs) {
  funcs->newp = New;
  funcs->destroy = Destroy;
  funcs->setwindow = [](NPP, NPWindow*) -> NPError { return NPERR_NO_ERROR; };
  funcs->getvalue = GetValue;
  return NPERR_NO_ERROR;
}

}  // namespace

extern "C" KSV_EXPORT(NPError) NP_GetEntryPoints(NPPluginFuncs* funcs) {
  return FillTable(funcs);
}

#ifdef _WIN32
extern "C" KSV_EXPORT(NPError) NP_Initialize(NPNetscapeFuncs* funcs) {
#else
extern "C" KSV_EXPORT(NPError) NP_Initialize(NPNetscapeFuncs* funcs, NPPluginFuncs* plugin) {
  FillTable(plugin);
#endif
  host = *funcs;
  return NPERR_NO_ERROR;
}

extern "C" KSV_EXPORT(NPError) NP_Shutdown() {
  return NPERR_NO_ERROR;
}
