#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "agent/agent_target.h"
#include "library/operation.h"
#include "npapi/npapi.h"
#include "npapi/npfunctions.h"
#include "page/method.h"
#include "script/js_object.h"

namespace NorvoWebAPI::KSV {

/// The text for a wrapper: null if it is empty.
inline const char* TextOrNull(const std::string& text) {
  return text.empty() ? nullptr : text.c_str();
}

/// The result of a method: the codes that have been set, and further keys. If there are none at all, the page gets
/// null.
struct MethodResult {
  std::optional<int32_t> pluginCode;
  std::optional<int32_t> status;
  JSObject keys;

  void Set(const Outcome& outcome) {
    pluginCode = outcome.pluginCode;
    status = outcome.status;
  }
  /// The result as one script value, with the codes under "pluginRetCode" and "fnRetCode".
  JSObject Take();
};

/// One script call as its operation sees it: the converted arguments and the result to fill.
class ScriptCall {
 public:
  /// Converts the arguments in order, then makes the demands for text. Throws what a conversion throws, and
  /// `std::bad_cast` for an argument that must be text and isn't. The references must outlive the call.
  ScriptCall(Scriptable& scriptable, const MethodRow& method, const NPVariant* args, MethodResult& result);

  /// The text of a text argument; throws `std::bad_cast` for a value of another kind.
  [[nodiscard]] const std::string& String(size_t index) const { return values.at(index).AsString(); }
  /// The same for a wrapper: null if it is empty.
  [[nodiscard]] const char* Text(size_t index) const { return TextOrNull(String(index)); }
  [[nodiscard]] int32_t Length(size_t index) const { return static_cast<int32_t>(String(index).size()); }
  [[nodiscard]] int32_t Number(size_t index) const { return values.at(index).ToInt(); }
  /// A whole number's low 32 bits; 0 for what is no finite number.
  [[nodiscard]] uint32_t Unsigned(size_t index) const;
  [[nodiscard]] bool Flag(size_t index) const { return values.at(index).ToBool(); }

  /// Converts an unread argument.
  [[nodiscard]] JSObject Read(size_t index) const;
  /// The script object of a function argument; null for any other value.
  [[nodiscard]] NPObject* ScriptObject(size_t index) const;

  /// The target that the first argument names, for the library's generation. Nothing when its instance can't be
  /// started: the result then holds the codes of the start.
  [[nodiscard]] std::optional<AgentTarget> Target();

  Scriptable& scriptable;
  MethodResult& result;

 private:
  const NPVariant* variants;
  std::vector<JSObject> values;  ///< Null for function and unread arguments.
};

}  // namespace NorvoWebAPI::KSV
