#include "registration/plugin_keys.h"

#include <stdexcept>

#include "base/owner.h"
#include "base/product.h"

namespace NorvoWebAPI::KSV::Registration {
namespace {

// Browsers ask for a name that starts with the maker's domain. The slash is no level of the tree.
constexpr char kPluginIdentifier[] = "@norvo.com/";

using RegistryKey = Owner<HKEY, RegCloseKey>;

LSTATUS OpenKey(HKEY parent, const char* name, REGSAM access, RegistryKey& key) {
  HKEY opened = nullptr;
  const LSTATUS error = RegOpenKeyExA(parent, name, 0, access, &opened);
  if (error == ERROR_SUCCESS) key = RegistryKey(opened);
  return error;
}

RegistryKey MakeKey(HKEY parent, const KeyEntry& entry) {
  HKEY made = nullptr;
  if (RegCreateKeyExA(parent, entry.name.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS, nullptr, &made,
                      nullptr) != ERROR_SUCCESS) {
    throw std::runtime_error(entry.failure);
  }
  return RegistryKey(made);
}

void WriteValue(HKEY parent, const ValueEntry& value) {
  RegistryKey key;
  if (OpenKey(parent, "", KEY_SET_VALUE, key) != ERROR_SUCCESS ||
      RegSetValueExA(key.Get(), value.name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.data.data()),
                     static_cast<DWORD>(value.data.size())) != ERROR_SUCCESS) {
    throw std::runtime_error("Failed to create registry key values");
  }
}

}  // namespace

std::string BuildPluginKeyName(const std::string& shortName, const std::string& version) {
  const std::string name = std::string("Software\\MozillaPlugins\\") + kPluginIdentifier + "Norvo WebAPI " + shortName;
  return version.empty() ? name : name + ";version=" + version;
}

std::string BuildMimeType(const std::string& shortName, const std::string& version) {
  return kMimeTypeStem + shortName + "-" + version;
}

std::vector<KeyEntry> PluginKeys(const std::string& shortName, const std::string& description,
                                 const std::string& version, const std::string& path) {
  return {{BuildPluginKeyName(shortName, version),
           "Failed to create registry key",
           {{"ShortName", shortName},
            {"Description", description},
            {"Path", path},
            {"ProductName", shortName},
            {"Vendor", kVendor},
            {"Version", version}}},
          {"MimeTypes", "Failed to create registry mime type key", {}},
          {BuildMimeType(shortName, version), "Failed to create mime type sub key", {}}};
}

void WritePluginKeys(const std::string& shortName, const std::string& description, const std::string& version,
                     const std::string& path) {
  std::vector<RegistryKey> made;
  for (const KeyEntry& entry : PluginKeys(shortName, description, version, path)) {
    made.push_back(MakeKey(made.empty() ? HKEY_LOCAL_MACHINE : made.back().Get(), entry));
    for (const ValueEntry& value : entry.values) WriteValue(made.back().Get(), value);
  }
}

std::vector<Difference> CheckKeys(const std::vector<KeyEntry>& keys) {
  std::vector<Difference> differences;
  std::string name;
  for (const KeyEntry& entry : keys) {
    name += (name.empty() ? "" : "\\") + entry.name;
    RegistryKey key;
    if (const LSTATUS error = OpenKey(HKEY_LOCAL_MACHINE, name.c_str(), KEY_READ, key)) {
      differences.push_back({name, "", error, "", ""});
      break;
    }
    for (const auto& [value, expected] : entry.values) {
      std::string found;
      const LSTATUS error = ReadText(name, value, found);
      if (error != ERROR_SUCCESS || found != expected) differences.push_back({name, value, error, expected, found});
    }
  }
  return differences;
}

LSTATUS ReadText(const std::string& keyName, const char* value, std::string& text) {
  RegistryKey key;
  if (const LSTATUS error = OpenKey(HKEY_LOCAL_MACHINE, keyName.c_str(), KEY_READ, key)) return error;
  DWORD type = REG_NONE;
  DWORD size = 0;
  if (const LSTATUS error = RegQueryValueExA(key.Get(), value, nullptr, &type, nullptr, &size)) return error;
  if (type != REG_SZ) return ERROR_INVALID_DATA;
  std::string read(size, '\0');
  if (const LSTATUS error =
          RegQueryValueExA(key.Get(), value, nullptr, &type, reinterpret_cast<BYTE*>(read.data()), &size)) {
    return error;
  }
  // A text may be stored with its terminator or without.
  text = read.c_str();
  return ERROR_SUCCESS;
}

LSTATUS DeleteKeyTree(HKEY parent, const char* subKey) {
  RegistryKey key;
  if (const LSTATUS error = OpenKey(parent, subKey, KEY_ALL_ACCESS, key)) return error;
  DWORD count = 0;
  DWORD longest = 0;
  if (const LSTATUS error = RegQueryInfoKeyA(key.Get(), nullptr, nullptr, nullptr, &count, &longest, nullptr, nullptr,
                                             nullptr, nullptr, nullptr, nullptr)) {
    return error;
  }
  std::string name(size_t{longest} + 1, '\0');
  // The last first: those that are left keep their places.
  while (count-- > 0) {
    auto length = static_cast<DWORD>(name.size());
    if (const LSTATUS error =
            RegEnumKeyExA(key.Get(), count, name.data(), &length, nullptr, nullptr, nullptr, nullptr)) {
      return error;
    }
    // A name that no call can open would lead back to this key.
    if (name.front() == '\0') return ERROR_INVALID_DATA;
    if (const LSTATUS error = DeleteKeyTree(key.Get(), name.c_str())) return error;
  }
  return RegDeleteKeyA(parent, subKey);
}

}  // namespace NorvoWebAPI::KSV::Registration
