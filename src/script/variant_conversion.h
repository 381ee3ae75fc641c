/// The border between the host's variants and the program's values.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "npapi/npfunctions.h"
#include "script/js_object.h"

namespace NorvoWebAPI::NPJSConverter {

/// Bounds of one conversion. A page can hand over an object that reaches itself, and an engine may wrap it anew at each
/// read, so depth and total are bounded beside the test for an object that is already being read.
constexpr size_t kMaxDepth = 64;
constexpr size_t kMaxValues = 100'000;
constexpr size_t kMaxTextBytes = size_t{64} << 20;

/// The value of a variant that the caller keeps. A script object, array or function is read out whole into an Object,
/// or Null when it lists nothing. Throws `std::runtime_error` when the host refuses a member, a bound is passed or
/// reading ends the page, `std::bad_typeid` for null `funcs`.
JSObject fromNPVariant(NPP npp, const NPNetscapeFuncs* funcs, const NPVariant* value);

/// A variant that belongs to the caller: text in host memory, cut at its first zero byte; an Array or Object as a
/// read-only script object over the value. Throws `std::invalid_argument` for a Function, `std::bad_typeid` for null
/// `funcs`, `std::runtime_error` when the host has no memory or makes no object.
NPVariant toNPVariant(NPP npp, const NPNetscapeFuncs* funcs, JSObject value);

/// The same for a text alone; `funcs` is not null.
NPVariant TextVariant(const NPNetscapeFuncs* funcs, const std::string& text);

}  // namespace NorvoWebAPI::NPJSConverter
