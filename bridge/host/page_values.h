/// Values of the page: from messages into variants of the module, and back.
#pragma once

#include <cstdint>
#include <functional>
#include <nlohmann/json.hpp>
#include <string>

#include "kit/nphost/variants.h"

namespace Bridge {

class PageFunctions;

/// What a value of a message may name.
struct PageContext {
  PageFunctions& functions;
  /// The object for script of an instance; null when there is none of that number.
  std::function<NPObject*(uint32_t)> pluginObject;
};

/// The arguments of a call, or one value as a list of one. Throws `ProtocolError` for what is no value, for objects in
/// more than 64 levels and for more than 100,000 values in all.
void ReadValues(const nlohmann::json& values, const PageContext& context, NpHost::VariantList& list);

/// What the module gave. Its objects are read at once: the keys of the page API, or the elements of an array.
nlohmann::json WriteValue(const NPVariant& value);

/// A page's window, which has its address only; with a reference for the caller. Throws `std::bad_alloc`.
NPObject* MakeWindow(const std::string& address);

}  // namespace Bridge
