/// Values on their way between script and plug-in.
#pragma once

#include <duktape.h>

#include <string>
#include <string_view>
#include <vector>

#include "npapi/npruntime.h"

namespace Kit {

/// UTF-8 to the engine's own text and back: it keeps characters beyond U+FFFF as two surrogates, as script sees them.
/// What is no UTF-8, or half a pair, becomes U+FFFD.
std::string ScriptTextOf(std::string_view utf8);
std::string Utf8Of(std::string_view scriptText);

/// Throws an Error into script.
[[noreturn]] void ThrowError(duk_context* context, const std::string& message);

void PushText(duk_context* context, std::string_view utf8);
/// The value converted to text as script does it, in UTF-8. May throw what the page's own `toString` throws.
std::string TextAt(duk_context* context, duk_idx_t index);

/// The variant for a value of script; the caller releases it.
NPVariant VariantAt(duk_context* context, duk_idx_t index);
void PushVariant(duk_context* context, const NPVariant& variant);
/// Makes it undefined.
void ReleaseVariant(NPVariant& variant);

/// A variant that is owned here.
class Variant {
 public:
  Variant() = default;
  explicit Variant(const NPVariant& taken) : variant(taken) {}
  ~Variant() { ReleaseVariant(variant); }
  Variant(const Variant&) = delete;
  Variant& operator=(const Variant&) = delete;
  NPVariant* Get() { return &variant; }

 private:
  NPVariant variant{NPVariantType_Void, {}};
};

/// The values from `first` to the stack's top, as arguments of a call.
class VariantList {
 public:
  VariantList(duk_context* context, duk_idx_t first);
  ~VariantList();
  VariantList(const VariantList&) = delete;
  VariantList& operator=(const VariantList&) = delete;
  /// Null when there are none.
  [[nodiscard]] const NPVariant* Data() const { return variants.empty() ? nullptr : variants.data(); }
  [[nodiscard]] uint32_t Size() const { return static_cast<uint32_t>(variants.size()); }

 private:
  std::vector<NPVariant> variants;
};

}  // namespace Kit
