#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "agent/agent_target.h"
#include "npapi/npfunctions.h"
#include "script/instance_watch.h"
#include "script/js_object.h"

namespace NorvoWebAPI::KSV {

class Scriptable;
struct MethodRow;

/// Text as the operations take it: null for an empty one.
inline const char* TextOrNull(const std::string& text) {
  return text.empty() ? nullptr : text.c_str();
}

/// Thrown by an operation that has nothing to add to its result.
struct Answered {};

/// One script call as its operation sees it: the arguments, converted and held against their demands, and the result
/// object to fill.
class ScriptCall {
 public:
  /// Converts the arguments, in order, then makes the demands for text. Throws what a conversion throws,
  /// `std::bad_cast` for an argument that must be text and isn't, and `std::runtime_error` when the page has ended
  /// meanwhile: reading an argument runs page script.
  ScriptCall(Scriptable& page, const MethodRow& method, const NPVariant* args, JSObject& result,
             const InstanceWatch& watch);

  /// Text of a text argument; throws `std::bad_cast` for one that was let in with another tag.
  [[nodiscard]] const std::string& String(size_t index) const { return values.at(index).AsString(); }
  /// The same as the operations take it: null for an empty one.
  [[nodiscard]] const char* Text(size_t index) const { return TextOrNull(String(index)); }
  [[nodiscard]] int32_t Length(size_t index) const { return static_cast<int32_t>(String(index).size()); }
  [[nodiscard]] int32_t Number(size_t index) const { return values.at(index).ToInt(); }
  /// A whole number's low 32 bits; 0 for what is no finite number.
  [[nodiscard]] uint32_t Unsigned(size_t index) const;
  [[nodiscard]] bool Flag(size_t index) const { return values.at(index).ToBool(); }

  /// Reads an argument that was left unread so far. Throws what a conversion throws.
  [[nodiscard]] JSObject Read(size_t index) const;

  /// The script object that was given, a function or not; null for any other value.
  [[nodiscard]] NPObject* ScriptObject(size_t index) const;
  /// The page's function; throws `CPluginException` 12 for a value that is no script object.
  [[nodiscard]] NPObject* Function(size_t index) const;

  /// Which generation the library is of. Throws `std::runtime_error` when the page has ended while it was asked.
  [[nodiscard]] bool IsInstanceGeneration() const;
  /// The target that the first argument names, in the form that the library's generation takes. Throws `Answered` when
  /// its instance can't be started: the result then tells why; and `std::runtime_error` when the page has ended.
  [[nodiscard]] AgentTarget Target() const;

  Scriptable& page;
  JSObject& result;

 private:
  const NPVariant* variants;
  const InstanceWatch& watch;
  std::vector<JSObject> values;  ///< A function's place is left empty: reading it out would tell nothing of it.
};

}  // namespace NorvoWebAPI::KSV
