#include "kit/host/script_values.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <optional>

#include "kit/host/plugin_objects.h"
#include "kit/host/script_objects.h"

namespace Kit {
namespace {

constexpr char32_t kReplacement = 0xFFFD;
constexpr char32_t kFirstHighSurrogate = 0xD800, kFirstLowSurrogate = 0xDC00, kBehindSurrogates = 0xE000;
constexpr char32_t kFirstPair = 0x10000, kBehindUnicode = 0x110000;

// Takes one character off the front, surrogates as they stand; nothing where no whole character is.
std::optional<char32_t> TakeCharacter(std::string_view& text) {
  const auto first = static_cast<unsigned char>(text.front());
  const size_t length = first < 0x80   ? 1
                        : first < 0xC2 ? 0
                        : first < 0xE0 ? 2
                        : first < 0xF0 ? 3
                        : first < 0xF5 ? 4
                                       : 0;
  char32_t character = length < 2 ? first : first & (0x7Fu >> length);
  for (size_t at = 1; at < length; ++at) {
    const unsigned next = at < text.size() ? static_cast<unsigned char>(text[at]) : 0;
    if ((next & 0xC0u) != 0x80) return text.remove_prefix(1), std::nullopt;
    character = character << 6 | (next & 0x3Fu);
  }
  text.remove_prefix(std::max<size_t>(length, 1));
  constexpr char32_t kLeast[] = {0, 0, 0x80, 0x800, kFirstPair};
  if (length == 0 || character < kLeast[length] || character >= kBehindUnicode) return {};
  return character;
}

void Append(std::string& text, char32_t character) {
  const auto tail = [&](unsigned shift) { text += static_cast<char>(0x80 | (character >> shift & 0x3F)); };
  if (character < 0x80) {
    text += static_cast<char>(character);
  } else if (character < 0x800) {
    text += static_cast<char>(0xC0 | character >> 6);
    tail(0);
  } else if (character < kFirstPair) {
    text += static_cast<char>(0xE0 | character >> 12);
    tail(6);
    tail(0);
  } else {
    text += static_cast<char>(0xF0 | character >> 18);
    tail(12);
    tail(6);
    tail(0);
  }
}

bool IsBetween(std::optional<char32_t> character, char32_t first, char32_t behind) {
  return character && *character >= first && *character < behind;
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

std::string ScriptTextOf(std::string_view utf8) {
  std::string text;
  while (!utf8.empty()) {
    std::optional<char32_t> character = TakeCharacter(utf8);
    if (IsBetween(character, kFirstHighSurrogate, kBehindSurrogates)) character.reset();
    const char32_t known = character.value_or(kReplacement);
    if (known < kFirstPair) {
      Append(text, known);
    } else {
      Append(text, kFirstHighSurrogate + ((known - kFirstPair) >> 10));
      Append(text, kFirstLowSurrogate + ((known - kFirstPair) & 0x3FF));
    }
  }
  return text;
}

std::string Utf8Of(std::string_view scriptText) {
  std::string text;
  while (!scriptText.empty()) {
    std::optional<char32_t> character = TakeCharacter(scriptText);
    if (IsBetween(character, kFirstHighSurrogate, kFirstLowSurrogate) && !scriptText.empty()) {
      std::string_view behind = scriptText;
      const std::optional<char32_t> low = TakeCharacter(behind);
      if (IsBetween(low, kFirstLowSurrogate, kBehindSurrogates)) {
        scriptText = behind;
        character = kFirstPair + ((*character - kFirstHighSurrogate) << 10) + (*low - kFirstLowSurrogate);
      }
    }
    if (IsBetween(character, kFirstHighSurrogate, kBehindSurrogates)) character.reset();
    Append(text, character.value_or(kReplacement));
  }
  return text;
}

void ThrowError(duk_context* context, const std::string& message) {
  duk_push_error_object(context, DUK_ERR_ERROR, "%s", ScriptTextOf(message).c_str());
  duk_throw_raw(context);
  std::abort();  // Never reached, which the engine's header does not tell the compiler when exceptions are on.
}

void PushText(duk_context* context, std::string_view utf8) {
  const std::string text = ScriptTextOf(utf8);
  duk_push_lstring(context, text.data(), text.size());
}

std::string TextAt(duk_context* context, duk_idx_t index) {
  duk_dup(context, index);
  duk_size_t size = 0;
  const char* const text = duk_to_lstring(context, -1, &size);
  std::string utf8 = Utf8Of({text, size});
  duk_pop(context);
  return utf8;
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
