/// The registry's text file and what is in it.
///
/// The file's place is the environment variable KSV_REGISTRY, else norvo/ksv/registry.json in the user's configuration
/// folder ($XDG_CONFIG_HOME, else ~/.config). It is JSON, meant to be written by hand or by a script as well:
///
///     {
///       "HKEY_LOCAL_MACHINE": { "Software": { "Norvo": { "Services": { "KSV": {
///         "KsvPluginLogLevel": 1,
///         "FILELOCALE": "/opt/norvo/ksv"
///       } } } } }
///     }
///
/// Objects are keys, one in another, and their other members are values. Names are found by any case. A text is a
/// REG_SZ, a whole number a REG_DWORD (-1 is 0xFFFFFFFF). Other values are objects with a "type", by which they are
/// told from keys: {"type": "REG_EXPAND_SZ", "data": "..."}, with "terminated": false for a text stored without its
/// terminator; or {"type": "REG_BINARY", "hex": "00ff"} with the bytes as they are, for every type. A type without a
/// name is given by its number. A key and a value of the same name can't stand in one key.
///
/// A file that is not like this, or larger than a megabyte, or deeper than 64 levels, is read as if it were empty and
/// never written over.
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

/// The hive's name, then the names of the keys below it.
using KeyPath = std::vector<std::string>;

class RegistryStore {
 public:
  using Json = nlohmann::json;

  /// Reads the file as it is now.
  RegistryStore();

  /// Null if there is no such key. A hive is always there.
  Json* FindKey(const KeyPath& path);
  /// Makes what is missing; null if a value stands in the way.
  Json* MakeKey(const KeyPath& path, bool* isNew);

  /// The member of that name; null if there is none, or if it is of the other kind.
  static Json* FindSubKey(Json& key, std::string_view name);
  static Json* FindValue(Json& key, std::string_view name);
  static std::vector<std::string> SubKeyNames(const Json& key);
  /// The key and all in it goes.
  static void RemoveSubKey(Json& key, std::string_view name);

  /// Nothing for a value that makes no sense.
  static std::optional<RegistryValue> Decode(const Json& member);
  /// The plainest form that reads back as the same, under that name.
  static Json Encode(std::string_view name, const RegistryValue& value);

  /// Replaces the file in one step. Gives `ERROR_SUCCESS` or why it could not.
  LSTATUS Save() const;

 private:
  Json root_ = Json::object();
  bool isMalformed_ = false;
};

}  // namespace platform
