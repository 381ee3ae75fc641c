#include "bridge/host/copied_object.h"

#include <algorithm>
#include <cstddef>
#include <memory>

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

NPClass CopiedObject::copiedClass{NP_CLASS_STRUCT_VERSION,
                                  nullptr,
                                  Deallocate,
                                  nullptr,
                                  nullptr,
                                  Invoke,
                                  nullptr,
                                  HasProperty,
                                  GetProperty,
                                  nullptr,
                                  nullptr,
                                  Enumerate,
                                  nullptr};

CopiedObject& CopiedObject::MakeIn(NpHost::Variant& owner) {
  std::unique_ptr<CopiedObject> made(new CopiedObject);
  made->_class = &copiedClass;
  made->referenceCount = 1;
  Host::Current().Add(made.get());
  NPVariant& variant = *owner.Get();
  variant.type = NPVariantType_Object;
  variant.value.objectValue = made.get();
  return *made.release();  // Its last reference ends it: see Deallocate.
}

void CopiedObject::Add(NPIdentifier key, const NPVariant& value) {
  NpHost::Variant owned(value);  // Growing may fail.
  members.emplace_back(key, value);
  *owned.Get() = {NPVariantType_Void, {}};
}

void CopiedObject::Deallocate(NPObject* object) {
  const std::unique_ptr<CopiedObject> copied(static_cast<CopiedObject*>(object));
  for (auto& [key, value] : copied->members) Host::Current().Release(value);
}

const NPVariant* CopiedObject::Find(NPIdentifier key) {
  const auto start = members.begin() + static_cast<ptrdiff_t>(next);
  auto found = std::ranges::find(start, members.end(), key, &Member::first);
  if (found == members.end()) found = std::ranges::find(members.begin(), start, key, &Member::first);
  if (found == members.end() || found->first != key) return nullptr;
  next = static_cast<size_t>(found - members.begin());
  return &found->second;
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

bool CopiedObject::Invoke(NPObject* object, NPIdentifier key, const NPVariant* /*arguments*/, uint32_t /*count*/,
                          NPVariant* result) {
  return Guarded([&] {
    const std::optional<std::string>& text = static_cast<CopiedObject*>(object)->asText;
    if (!text || key != Host::Current().IdOfName("toString")) return false;
    *result = Host::Current().Text(*text);
    return true;
  });
}

bool CopiedObject::Enumerate(NPObject* object, NPIdentifier** keys, uint32_t* count) {
  const auto& copied = *static_cast<CopiedObject*>(object);
  if (copied.isUnreadable) return false;
  const size_t size = copied.members.size() * sizeof(NPIdentifier);
  auto* const list = static_cast<NPIdentifier*>(Host::Current().Allocate(size));
  if (!list && size > 0) return false;
  std::ranges::transform(copied.members, list, &Member::first);
  *keys = list;
  *count = static_cast<uint32_t>(copied.members.size());
  return true;
}

}  // namespace Bridge
