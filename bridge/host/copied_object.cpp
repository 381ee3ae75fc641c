#include "bridge/host/copied_object.h"

#include <algorithm>

#include "kit/nphost/host.h"

namespace Bridge {

using NpHost::Host;

namespace {

// A variant with a reference or a copy of its own; throws `std::bad_alloc`.
NPVariant Copy(const NPVariant& value) {
  if (value.type == NPVariantType_String) {
    const NPString& text = value.value.stringValue;
    return Host::Current().Text({text.UTF8Characters, text.UTF8Length});
  }
  if (value.type == NPVariantType_Object) Host::Current().Retain(value.value.objectValue);
  return value;
}

// What a call of the module's runs: nothing is thrown into it.
template <typename Work>
bool Guarded(Work work) noexcept {
  try {
    return work();
  } catch (...) {
    return false;
  }
}

}  // namespace

NPClass CopiedObject::copiedClass{NP_CLASS_STRUCT_VERSION, nullptr,     Deallocate,  nullptr, HasMethod, Invoke, nullptr,
                                  HasProperty,             GetProperty, nullptr,     nullptr, Enumerate, nullptr};

CopiedObject* CopiedObject::Make() {
  auto* const object = new CopiedObject;  // Its last reference ends it: see Deallocate.
  object->_class = &copiedClass;
  object->referenceCount = 1;
  Host::Current().Add(object);
  return object;
}

void CopiedObject::Add(NPIdentifier key, const NPVariant& value) {
  members.emplace_back(key, value);
}

void CopiedObject::Deallocate(NPObject* object) {
  auto* const copied = static_cast<CopiedObject*>(object);
  for (auto& [key, value] : copied->members) Host::Current().Release(value);
  delete copied;
}

const NPVariant* CopiedObject::Find(NPIdentifier key) const {
  const auto found = std::ranges::find(members, key, &std::pair<NPIdentifier, NPVariant>::first);
  return found == members.end() ? nullptr : &found->second;
}

bool CopiedObject::HasProperty(NPObject* object, NPIdentifier key) {
  return static_cast<CopiedObject*>(object)->Find(key) != nullptr;
}

bool CopiedObject::GetProperty(NPObject* object, NPIdentifier key, NPVariant* result) {
  return Guarded([&] {
    const NPVariant* const value = static_cast<CopiedObject*>(object)->Find(key);
    if (value) *result = Copy(*value);
    return value != nullptr;
  });
}

bool CopiedObject::HasMethod(NPObject* /*object*/, NPIdentifier key) {
  return Guarded([&] { return key == Host::Current().IdOfName("toString"); });
}

bool CopiedObject::Invoke(NPObject* object, NPIdentifier key, const NPVariant* /*arguments*/, uint32_t /*count*/,
                          NPVariant* result) {
  return Guarded([&] {
    if (!HasMethod(object, key)) return false;
    *result = Host::Current().Text(static_cast<CopiedObject*>(object)->asText);
    return true;
  });
}

bool CopiedObject::Enumerate(NPObject* object, NPIdentifier** keys, uint32_t* count) {
  const auto& members = static_cast<CopiedObject*>(object)->members;
  auto* const list = static_cast<NPIdentifier*>(Host::Current().Allocate(members.size() * sizeof(NPIdentifier)));
  if (!list && !members.empty()) return false;
  std::ranges::transform(members, list, &std::pair<NPIdentifier, NPVariant>::first);
  *keys = list;
  *count = static_cast<uint32_t>(members.size());
  return true;
}

}  // namespace Bridge
