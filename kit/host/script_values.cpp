#include "kit/host/script_values.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>

#include "kit/host/plugin_objects.h"
#include "kit/host/script_objects.h"
#include "platform/win32.h"

namespace Kit {
namespace {

using WideText = std::basic_string<WCHAR>;

// Both conversions replace what is ill-formed by U+FFFD.
WideText WideOf(std::string_view utf8) {
  const auto size = static_cast<int>(utf8.size());
  WideText wide(utf8.size(), 0);  // A byte makes one unit at most.
  wide.resize(static_cast<size_t>(MultiByteToWideChar(CP_UTF8, 0, utf8.data(), size, wide.data(), size)));
  return wide;
}

std::string Utf8Of(const WideText& wide) {
  std::string utf8(3 * wide.size(), '\0');  // A unit makes three bytes at most.
  const int size = WideCharToMultiByte(CP_UTF8, 0, wide.data(), static_cast<int>(wide.size()), utf8.data(),
                                       static_cast<int>(utf8.size()), nullptr, nullptr);
  utf8.resize(static_cast<size_t>(size));
  return utf8;
}

// The engine's form of a text: each 16-bit unit by itself as UTF-8 has it, surrogates too.
std::string EngineTextOf(std::string_view utf8) {
  std::string text;
  for (const WCHAR wide : WideOf(utf8)) {
    const auto unit = static_cast<char16_t>(wide);
    if (unit < 0x80) {
      text += static_cast<char>(unit);
      continue;
    }
    text += static_cast<char>(unit < 0x800 ? 0xC0 | unit >> 6 : 0xE0 | unit >> 12);
    if (unit >= 0x800) text += static_cast<char>(0x80 | (unit >> 6 & 0x3F));
    text += static_cast<char>(0x80 | (unit & 0x3F));
  }
  return text;
}

NPVariant NumberVariant(double number) {
  NPVariant variant{NPVariantType_Double, {}};
  variant.value.doubleValue = number;
  // The small whole numbers travel as such, as browsers have it; but zero has a sign that only the other form keeps.
  const bool whole = number >= INT32_MIN && number <= INT32_MAX && std::trunc(number) == number;
  if (whole && !(number == 0 && std::signbit(number))) {
    variant.type = NPVariantType_Int32;
    variant.value.intValue = static_cast<int32_t>(number);
  }
  return variant;
}

}  // namespace

void ThrowError(duk_context* context, const std::string& message) {
  duk_push_error_object(context, DUK_ERR_ERROR, "%s", EngineTextOf(message).c_str());
  duk_throw_raw(context);
  std::abort();  // Never reached, which the engine's header does not tell the compiler when exceptions are on.
}

void PushText(duk_context* context, std::string_view utf8) {
  const std::string text = EngineTextOf(utf8);
  duk_push_lstring(context, text.data(), text.size());
}

std::string TextAt(duk_context* context, duk_idx_t index) {
  duk_dup(context, index);
  duk_to_string(context, -1);
  WideText wide(duk_get_length(context, -1), 0);
  for (size_t at = 0; at < wide.size(); ++at) wide[at] = static_cast<WCHAR>(duk_char_code_at(context, -1, at));
  duk_pop(context);
  return Utf8Of(wide);
}

NPVariant VariantAt(duk_context* context, duk_idx_t index) {
  NPVariant variant{NPVariantType_Void, {}};
  switch (duk_get_type(context, index)) {
    case DUK_TYPE_NULL:
      variant.type = NPVariantType_Null;
      break;
    case DUK_TYPE_BOOLEAN:
      variant.type = NPVariantType_Bool;
      variant.value.boolValue = duk_get_boolean(context, index) != 0;
      break;
    case DUK_TYPE_NUMBER:
      return NumberVariant(duk_get_number(context, index));
    case DUK_TYPE_STRING:
      if (duk_is_symbol(context, index)) ThrowError(context, "a symbol can't be given to the plug-in");
      return NpHost::Host::Current().Text(TextAt(context, index));
    case DUK_TYPE_OBJECT:
    case DUK_TYPE_BUFFER:
    case DUK_TYPE_LIGHTFUNC:
      variant.type = NPVariantType_Object;
      variant.value.objectValue = PluginObjectAt(context, index);
      if (!variant.value.objectValue) variant.value.objectValue = ScriptObjectAt(context, index);
      break;
    default:
      break;
  }
  return variant;
}

void PushVariant(duk_context* context, const NPVariant& variant) {
  switch (variant.type) {
    case NPVariantType_Null:
      return duk_push_null(context);
    case NPVariantType_Bool:
      return duk_push_boolean(context, variant.value.boolValue ? 1 : 0);
    case NPVariantType_Int32:
      return duk_push_int(context, variant.value.intValue);
    case NPVariantType_Double:
      return duk_push_number(context, variant.value.doubleValue);
    case NPVariantType_String:
      return PushText(context, {variant.value.stringValue.UTF8Characters, variant.value.stringValue.UTF8Length});
    case NPVariantType_Object:
      if (IsScriptObject(variant.value.objectValue)) return PushScriptObject(context, variant.value.objectValue);
      return PushPluginObject(context, variant.value.objectValue);
    default:
      return duk_push_undefined(context);
  }
}

void AddVariants(duk_context* context, duk_idx_t first, NpHost::VariantList& list) {
  for (duk_idx_t at = first; at < duk_get_top(context); ++at) list.Add(VariantAt(context, at));
}

}  // namespace Kit
