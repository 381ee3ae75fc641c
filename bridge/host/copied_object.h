#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "kit/nphost/variants.h"
#include "npapi/npruntime.h"

namespace Bridge {

/// An object that holds copies of values, as the module reads an object of the page's. Ends with its last reference.
class CopiedObject : public NPObject {
 public:
  /// Becomes the object in `owner`, which has to be undefined; `owner` has the only reference.
  static CopiedObject& MakeIn(NpHost::Variant& owner);

  /// Takes the value over.
  void Add(NPIdentifier key, const NPVariant& value);
  /// Gives the object a `toString`. `hasMethod` is not implemented: the module calls it without asking.
  void SetText(std::string text) { asText = std::move(text); }
  /// Makes reading fail, as where a getter of the page's throws.
  void SetUnreadable() { isUnreadable = true; }

 private:
  using Member = std::pair<NPIdentifier, NPVariant>;

  CopiedObject() = default;

  static NPClass copiedClass;
  static void Deallocate(NPObject* object);
  static bool HasProperty(NPObject* object, NPIdentifier key);
  static bool GetProperty(NPObject* object, NPIdentifier key, NPVariant* result);
  static bool Invoke(NPObject* object, NPIdentifier key, const NPVariant* arguments, uint32_t count, NPVariant* result);
  static bool Enumerate(NPObject* object, NPIdentifier** keys, uint32_t* count);

  const NPVariant* Find(NPIdentifier key);

  std::vector<Member> members;
  size_t next = 0;  // The member that was read last: they are read in their order.
  std::optional<std::string> asText;
  bool isUnreadable = false;
};

}  // namespace Bridge
