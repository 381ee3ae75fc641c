/// Conversion between the host's variants and `JSObject`. The browser's thread only.
#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "npapi/npfunctions.h"
#include "script/instance_life.h"
#include "script/js_object.h"

namespace NorvoWebAPI::NPJSConverter {

/// Bounds of one conversion: a page can hand over an object that contains itself.
constexpr size_t kMaxDepth = 64;
constexpr size_t kMaxValues = 100'000;
constexpr size_t kMaxTextBytes = size_t{64} << 20;

/// The value of a variant that the caller keeps. A script object, array or function is read out whole into an Object,
/// or Null when it lists nothing. Reading runs page script, which may end the instance, as `life` tells. Throws
/// `std::runtime_error` when the host refuses a member, a bound is exceeded or the instance has ended,
/// `std::bad_typeid` for null `funcs`.
JSObject fromNPVariant(NPP npp, const NPNetscapeFuncs* funcs, const NPVariant* value, const InstanceLife& life);

/// A variant that belongs to the caller: text in host memory, cut at its first zero byte; an Array or Object as a
/// read-only script object over the value, which keeps `life`. Throws `std::invalid_argument` for a Function,
/// `std::bad_typeid` for null `funcs`, `std::runtime_error` when the host has no memory or makes no object.
NPVariant toNPVariant(NPP npp, const NPNetscapeFuncs* funcs, JSObject value, std::shared_ptr<const InstanceLife> life);
/// The same for a text alone; `funcs` is not null.
NPVariant TextVariant(const NPNetscapeFuncs* funcs, const std::string& text);

}  // namespace NorvoWebAPI::NPJSConverter
