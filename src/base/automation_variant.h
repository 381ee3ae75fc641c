/// Automation values (Windows).
#pragma once

#include <string>

#include "platform/win32.h"

namespace NorvoWebAPI {

/// Owns a variant and clears it.
class OwnedVariant {
 public:
  OwnedVariant() { VariantInit(&value); }
  ~OwnedVariant() { VariantClear(&value); }
  OwnedVariant(const OwnedVariant&) = delete;
  OwnedVariant& operator=(const OwnedVariant&) = delete;

  VARIANT& Get() { return value; }

 private:
  VARIANT value;
};

/// Text of any variant, in the ANSI code page. Throws `_com_error` for one that can't become text, such as a null value
/// or an array.
std::string NarrowFromVariant(VARIANT& value);

}  // namespace NorvoWebAPI
