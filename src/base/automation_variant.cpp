#include "base/automation_variant.h"

#include "base/text.h"

namespace NorvoWebAPI {

std::string NarrowFromVariant(VARIANT& value) {
  if (value.vt == VT_BSTR) return NarrowFromBstr(value.bstrVal).value_or("");  // Null stands for the empty string.
  OwnedVariant text;
  const HRESULT result = VariantChangeType(&text.Get(), &value, 0, VT_BSTR);
  if (FAILED(result)) throw _com_error(result);
  return NarrowFromVariant(text.Get());
}

}  // namespace NorvoWebAPI
