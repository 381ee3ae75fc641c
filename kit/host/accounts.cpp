#include "kit/host/accounts.h"

#include <charconv>
#include <cstdlib>

#include "kit/host/script_objects.h"

namespace Kit {
namespace {

std::set<MemberKey>& Keys() {
  static std::set<MemberKey> keys;
  return keys;
}

}  // namespace

NPIdentifier IdentifierOf(const MemberKey& key) {
  return const_cast<MemberKey*>(&*Keys().insert(key).first);
}

NPIdentifier IdentifierOfName(const std::string& name) {
  int32_t number = 0;
  const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), number);
  const bool isNumber = error == std::errc() && end == name.data() + name.size() && number >= 0;
  return isNumber && std::to_string(number) == name ? IdentifierOf(number) : IdentifierOf(name);
}

const MemberKey& KeyOf(NPIdentifier identifier) {
  return *static_cast<const MemberKey*>(identifier);
}

Accounts& Accounts::Instance() {
  static auto* const accounts = new Accounts;  // Never ended: the plug-in may still call while the process ends.
  return *accounts;
}

void* Accounts::Allocate(uint32_t size) {
  void* const block = std::malloc(size > 0 ? size : 1);
  if (block) blocks[block] = size;
  return block;
}

void Accounts::Free(void* block) {
  if (!block) return;
  if (blocks.erase(block) == 0) {
    misuses.emplace_back("The plug-in freed memory that the host did not give it, or freed it twice.");
    return;
  }
  std::free(block);
}

NPObject* Accounts::Create(NPP npp, NPClass* objectClass) {
  NPObject* const object = objectClass->allocate ? objectClass->allocate(npp, objectClass)
                                                 : static_cast<NPObject*>(std::malloc(sizeof(NPObject)));
  if (!object) return nullptr;
  object->_class = objectClass;
  object->referenceCount = 1;
  objects.insert(object);
  return object;
}

void Accounts::Enter(NPObject* object) {
  object->referenceCount = 1;
  objects.insert(object);
}

NPObject* Accounts::Retain(NPObject* object) {
  if (object) ++object->referenceCount;
  return object;
}

void Accounts::Release(NPObject* object) {
  if (!object) return;
  if (!objects.contains(object)) {
    misuses.emplace_back("The plug-in released an object that has ended.");
    return;
  }
  if (--object->referenceCount == 0) End(object);
}

void Accounts::End(NPObject* object) {
  if (objects.erase(object) == 0) return;
  // The last reference may be the object's own hold on itself: then nobody has told it before.
  if (object->referenceCount > 0 && object->_class->invalidate) object->_class->invalidate(object);
  if (object->_class->deallocate) {
    object->_class->deallocate(object);
  } else {
    std::free(object);
  }
}

uint32_t Accounts::References(NPObject* object) const {
  return objects.contains(object) ? object->referenceCount : 0;
}

std::vector<std::string> Accounts::Complaints() const {
  std::vector<std::string> complaints = misuses;
  for (const NPObject* object : objects) {
    complaints.push_back("The plug-in left " + std::to_string(object->referenceCount) + " reference(s) on " +
                         (IsScriptObject(object) ? "an object or a function of the page's." : "an object of its own."));
  }
  for (const auto& [block, size] : blocks) {
    complaints.push_back("The plug-in left " + std::to_string(size) + " bytes of the host's memory.");
  }
  return complaints;
}

}  // namespace Kit
