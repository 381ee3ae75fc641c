#pragma once

#include <string>
#include <utility>
#include <vector>

#include "npapi/npruntime.h"

namespace Bridge {

/// An object that holds copies of values, as the module reads an object of the page's. Ends with its last reference.
class CopiedObject : public NPObject {
 public:
  /// With a reference for the caller.
  static CopiedObject* Make();

  /// Takes the value over.
  void Add(NPIdentifier key, const NPVariant& value);
  /// Makes `text` what the object's `toString` gives.
  void SetText(std::string text) { asText = std::move(text); }

 private:
  static NPClass copiedClass;
  static void Deallocate(NPObject* object);
  static bool HasProperty(NPObject* object, NPIdentifier key);
  static bool GetProperty(NPObject* object, NPIdentifier key, NPVariant* result);
  static bool HasMethod(NPObject* object, NPIdentifier key);
  static bool Invoke(NPObject* object, NPIdentifier key, const NPVariant* arguments, uint32_t count,
                     NPVariant* result);
  static bool Enumerate(NPObject* object, NPIdentifier** keys, uint32_t* count);

  const NPVariant* Find(NPIdentifier key) const;

  std::vector<std::pair<NPIdentifier, NPVariant>> members;
  std::string asText;
};

}  // namespace Bridge
