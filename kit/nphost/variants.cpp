#include "kit/nphost/variants.h"

namespace NpHost {

Variant::Variant(NPObject* object) : variant{NPVariantType_Object, {}} {
  variant.value.objectValue = Host::Current().Retain(object);
}

VariantList::~VariantList() {
  for (NPVariant& variant : variants) Host::Current().Release(variant);
}

void VariantList::Add(const NPVariant& variant) {
  Variant owned(variant);  // Growing may fail.
  variants.push_back(variant);
  *owned.Get() = {NPVariantType_Void, {}};
}

}  // namespace NpHost
