/// Values on their way between script and plug-in.
#pragma once

#include <duktape.h>

#include <string>
#include <string_view>

#include "kit/nphost/variants.h"

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

/// The variant for a value of script; the caller releases it. Throws into script what has no variant.
NPVariant VariantAt(duk_context* context, duk_idx_t index);
void PushVariant(duk_context* context, const NPVariant& variant);
/// Adds the values from `first` to the stack's top, as arguments of a call.
void AddVariants(duk_context* context, duk_idx_t first, NpHost::VariantList& list);

}  // namespace Kit
