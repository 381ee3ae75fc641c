/// Conversion of values between script and plug-in.
#pragma once

#include <duktape.h>

#include <string>
#include <string_view>

#include "kit/nphost/variants.h"

namespace Kit {

/// Throws an Error into script.
[[noreturn]] void ThrowError(duk_context* context, const std::string& message);

/// Ill-formed UTF-8 becomes U+FFFD, here as in the other direction an unpaired surrogate does.
void PushText(duk_context* context, std::string_view utf8);
/// The value converted to text as script does it, in UTF-8. Throws what the page's own `toString` throws.
std::string TextAt(duk_context* context, duk_idx_t index);

/// The variant for a value of script; the caller releases it. Throws into script what has no variant.
NPVariant VariantAt(duk_context* context, duk_idx_t index);
void PushVariant(duk_context* context, const NPVariant& variant);
/// Adds the values from `first` to the stack's top, as arguments of a call.
void AddVariants(duk_context* context, duk_idx_t first, NpHost::VariantList& list);

}  // namespace Kit
