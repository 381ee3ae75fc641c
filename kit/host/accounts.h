/// What the host has given out: identifiers, memory, references on objects. Kept, so that a page's end can tell what
/// the plug-in has left behind. The plug-in's calls bring no context, so there is one of each a process; one thread.
#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <unordered_set>
#include <variant>
#include <vector>

#include "npapi/npfunctions.h"

namespace Kit {

/// A member's name or an element's number.
using MemberKey = std::variant<std::string, int32_t>;

/// Interned: equal keys have equal identifiers, for good.
NPIdentifier IdentifierOf(const MemberKey& key);
/// A text that is written as an element's number ("7") is one.
NPIdentifier IdentifierOfName(const std::string& name);
const MemberKey& KeyOf(NPIdentifier identifier);

class Accounts {
 public:
  static Accounts& Instance();

  void* Allocate(uint32_t size);
  void Free(void* block);

  /// `NPN_CreateObject`: null when the class makes none.
  NPObject* Create(NPP npp, NPClass* objectClass);
  /// Takes up an object of the host's own, with one reference.
  void Enter(NPObject* object);
  NPObject* Retain(NPObject* object);
  void Release(NPObject* object);
  /// Ends an object whoever refers to it, as a browser does with those of an instance that is gone.
  void End(NPObject* object);

  /// 0 for an object that has ended.
  [[nodiscard]] uint32_t References(NPObject* object) const;

  /// One sentence for each wrong use, and for each object or block that is still there.
  [[nodiscard]] std::vector<std::string> Complaints() const;

 private:
  std::map<void*, uint32_t> blocks;
  std::unordered_set<NPObject*> objects;
  std::vector<std::string> misuses;
};

}  // namespace Kit
