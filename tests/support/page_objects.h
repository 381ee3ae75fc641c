/// The page's own objects and values, as tests write them.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "kit/nphost/identifiers.h"
#include "npapi/npruntime.h"

namespace support {

/// A script value: undefined, null, or what its type says. Objects are referred to, not owned.
using Value = std::variant<std::monostate, std::nullptr_t, bool, int32_t, double, std::string, NPObject*>;
using NpHost::Key;
using Getter = std::function<Value()>;
/// What a page's function does; its answer, or nothing when it throws.
using Function = std::function<bool(const std::vector<Value>& args, Value& result)>;

/// An object of the page's own. Members keep their order.
struct ScriptObject : NPObject {
  ScriptObject();

  std::vector<std::pair<Key, Getter>> members;
  Function function;  ///< Empty for an object that can't be called.

  ScriptObject& Set(Key key, Value value) {
    return Define(std::move(key), [value = std::move(value)] { return value; });
  }
  /// A member whose read runs page script.
  ScriptObject& Define(Key key, Getter getter);
  [[nodiscard]] const Getter* Find(const Key& key) const;
};

/// What a variant holds, read by its length.
Value ReadValue(const NPVariant& variant);

}  // namespace support
