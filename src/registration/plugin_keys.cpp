#include "registration/plugin_keys.h"

#include <stdexcept>

#include "base/product.h"
#include "base/registry_key.h"

namespace NorvoWebAPI::KSV::Registration {
namespace {

// Browsers expect a name that starts with the vendor's domain. The slash is a character of the key's name.
constexpr char kPluginIdentifier[] = "@norvo.com/";

RegistryKey MakeKey(HKEY parent, const KeyEntry& entry) {
  RegistryKey key;
  if (RegCreateKeyExA(parent, entry.name.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_ALL_ACCESS, nullptr,
                      key.Put(), nullptr) != ERROR_SUCCESS) {
    throw std::runtime_error(entry.failure);
  }
  return key;
}

void WriteValue(HKEY parent, const ValueEntry& value) {
  RegistryKey key;
  if (RegOpenKeyExA(parent, "", 0, KEY_SET_VALUE, key.Put()) != ERROR_SUCCESS ||
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

LSTATUS DeleteKeyTree(HKEY parent, const char* subKey) {
  RegistryKey key;
  if (const LSTATUS error = RegOpenKeyExA(parent, subKey, 0, KEY_ALL_ACCESS, key.Put())) return error;
  DWORD count = 0;
  DWORD longest = 0;
  if (const LSTATUS error = RegQueryInfoKeyA(key.Get(), nullptr, nullptr, nullptr, &count, &longest, nullptr, nullptr,
                                             nullptr, nullptr, nullptr, nullptr)) {
    return error;
  }
  std::string name(size_t{longest} + 1, '\0');
  // From the last to the first: a deletion moves the indices of those behind it.
  while (count-- > 0) {
    auto length = static_cast<DWORD>(name.size());
    if (const LSTATUS error =
            RegEnumKeyExA(key.Get(), count, name.data(), &length, nullptr, nullptr, nullptr, nullptr)) {
      return error;
    }
    if (const LSTATUS error = DeleteKeyTree(key.Get(), name.c_str())) return error;
  }
  return RegDeleteKeyA(parent, subKey);
}

}  // namespace NorvoWebAPI::KSV::Registration
