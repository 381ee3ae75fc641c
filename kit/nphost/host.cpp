#include "kit/nphost/host.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <stdexcept>
#include <utility>

#include "kit/nphost/host_table.h"

namespace NpHost {
namespace {

Host* current = nullptr;

}  // namespace

Host& Host::Current() {
  return *current;
}

Host::Host(Accounts kept)
    : accounts(kept),
      memory(kept, [this](const std::string& misuse) { ReportMisuse(misuse); }),
      identifiers(kept, [this](const std::string& misuse) { ReportMisuse(misuse); }),
      objects(kept, [this](const std::string& misuse) { ReportMisuse(misuse); }) {
  if (current) throw std::logic_error("There is another host in this process.");
  current = this;
  HostTable::Fill(funcs);
}

Host::~Host() {
  current = nullptr;
}

NPVariant Host::Text(std::string_view utf8) {
  auto* const copy = static_cast<char*>(Allocate(utf8.size()));
  if (!copy && !utf8.empty()) throw std::bad_alloc();
  utf8.copy(copy, utf8.size());
  NPVariant variant{NPVariantType_String, {}};
  variant.value.stringValue = {copy, static_cast<uint32_t>(utf8.size())};
  return variant;
}

void Host::Release(NPVariant& variant) {
  const NPVariantType type = std::exchange(variant.type, NPVariantType_Void);
  if (type == NPVariantType_String) Free(const_cast<NPUTF8*>(variant.value.stringValue.UTF8Characters));
  if (type == NPVariantType_Object) Release(variant.value.objectValue);
}

NPP Host::AddInstance() {
  const NPP instance = &records.emplace_back();
  instances.insert(instance);
  return instance;
}

void Host::EndInstance(NPP instance, NPObject* scriptable) {
  instances.erase(instance);
  if (accounts == Accounts::Kept) std::memset(instance, kPoison, sizeof *instance);
  if (scriptable) objects.End(scriptable);
  // As browsers do: the plug-in may be unloaded, and with it the code behind its objects.
  objects.EndAllOf(instance);
}

std::vector<std::string> Host::Leaks() const {
  std::vector<std::string> leaks = objects.Leaks();
  for (std::string& leak : memory.Leaks()) leaks.push_back(std::move(leak));
  return leaks;
}

NPError Host::GetUrlNotify(NPP /*instance*/, const char* /*url*/, const char* /*target*/, void* /*notifyData*/) {
  return NPERR_GENERIC_ERROR;
}

NPObject* Host::AllocateObject(NPP instance, NPClass* objectClass) {
  if (objectClass->allocate) return objectClass->allocate(instance, objectClass);
  return static_cast<NPObject*>(std::malloc(sizeof(NPObject)));
}

NPError Host::GetValue(NPP instance, NPNVariable variable, void* out) {
  if (variable != NPNVWindowNPObject) return NPERR_GENERIC_ERROR;
  if (!DemandInstance(instance, "NPN_GetValue")) return NPERR_INVALID_INSTANCE_ERROR;
  NPObject* const window = WindowOf(instance);
  *static_cast<NPObject**>(out) = window;
  return window ? NPERR_NO_ERROR : NPERR_GENERIC_ERROR;
}

NPObject* Host::CreateObject(NPP instance, NPClass* objectClass) {
  if (!DemandInstance(instance, "NPN_CreateObject")) return nullptr;
  NPObject* const object = AllocateObject(instance, objectClass);
  if (!object) return nullptr;
  object->_class = objectClass;
  object->referenceCount = 1;
  objects.Add(object, Maker::Plugin, 0, instance);
  return object;
}

NPUTF8* Host::Utf8FromIdentifier(NPIdentifier identifier) {
  const auto* const text = std::get_if<std::string>(&KeyOf(identifier));
  if (!text) return ReportMisuse("NPN_UTF8FromIdentifier was called for a number."), nullptr;
  auto* const copy = static_cast<NPUTF8*>(Allocate(text->size() + 1));
  if (copy) std::memcpy(copy, text->c_str(), text->size() + 1);
  return copy;
}

int32_t Host::IntFromIdentifier(NPIdentifier identifier) {
  const auto* const number = std::get_if<int32_t>(&KeyOf(identifier));
  if (!number) return ReportMisuse("NPN_IntFromIdentifier was called for a text."), INT32_MIN;
  return *number;
}

bool Host::DemandInstance(NPP instance, const char* call) {
  if (accounts == Accounts::None || instances.contains(instance)) return true;
  ReportMisuse(std::string(call) + " was called for an instance that is gone or never was.");
  return false;
}

bool Host::DemandLive(const NPObject* object, const char* call) {
  if (objects.IsLive(object)) return true;
  ReportMisuse(std::string(call) + " was called on an object that has ended or is not known to the host.");
  return false;
}

}  // namespace NpHost
