/// The registry's text file.
///
/// The environment variable KSV_REGISTRY names the file; without it, it is norvo/ksv/registry.json in the user's
/// configuration folder ($XDG_CONFIG_HOME, else ~/.config). It is JSON, to be written by hand or by a script as well:
///
///     {
///       "HKEY_LOCAL_MACHINE": { "Software": { "Norvo": { "Services": { "KSV": {
///         "KsvPluginLogLevel": 1,
///         "FILELOCALE": "/opt/norvo/ksv"
///       } } } } }
///     }
///
/// Objects are keys, and their other members are values. Names ignore case. A text is a REG_SZ, a whole number a
/// REG_DWORD (-1 is 0xFFFFFFFF). Other values are objects with a member "type", which no key has:
/// {"type": "REG_EXPAND_SZ", "data": "..."}, with "terminated": false for a text stored without its terminator; or
/// {"type": "REG_BINARY", "hex": "00ff"} with the bytes, for every type. A type without a name is given by its number.
/// A key can't contain a key and a value of the same name.
///
/// The member "DebugOutput" of the whole says where `OutputDebugStringA` writes: the path of a file, or "stderr".
///
/// A file that breaks these rules, is larger than a megabyte, or is deeper than 64 levels is read as if it were empty
/// and never overwritten.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/win32.h"

namespace platform {

struct RegistryValue {
  DWORD type;
  std::vector<BYTE> data;
  bool operator==(const RegistryValue&) const = default;
};

/// The hive's name, then the names of the keys down to the one meant.
using KeyPath = std::vector<std::string>;

class RegistryStore {
 public:
  using Json = nlohmann::json;

  /// Reads the file.
  RegistryStore();
  /// Why the file was read as if it were empty, for a person: for broken JSON the line and the column. Empty when the
  /// file was understood or isn't there.
  [[nodiscard]] const std::string& Problem() const { return problem; }

  /// Where the file is; empty when the environment names no place for it.
  static std::string Path();
  /// Where the debug output goes: what KSV_DEBUG_OUTPUT says, else the file's "DebugOutput". Empty: nowhere. Any
  /// thread.
  static std::string DebugOutput();

  /// Null if there is no such key. Hives always exist.
  Json* FindKey(const KeyPath& path);
  /// Adds the keys that are missing. Null if one of the names is a value.
  Json* MakeKey(const KeyPath& path, bool* isNew);

  /// The member of that name. Null if there is none or it is of the other kind.
  static Json* FindSubKey(Json& key, std::string_view name);
  static Json* FindValue(Json& key, std::string_view name);
  static std::vector<std::string> SubKeyNames(const Json& key);
  /// Removes the key and everything in it.
  static void RemoveSubKey(Json& key, std::string_view name);

  /// Nothing for an invalid value.
  static std::optional<RegistryValue> Decode(const Json& member);
  /// The plainest form that decodes to the same value under that name.
  static Json Encode(std::string_view name, const RegistryValue& value);

  /// Replaces the file in one step. Returns `ERROR_SUCCESS` or the error.
  LSTATUS Save() const;

 private:
  Json root = Json::object();
  std::string problem;
};

}  // namespace platform
