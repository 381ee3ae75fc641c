#include "registration/registration.h"

#include <stdexcept>

#include "base/product.h"

namespace NorvoWebAPI::KSV::Registration {

std::string ReadInstallerFolder(MSIHANDLE installation) {
  static constexpr char kProperty[] = "CustomActionData";
  char none[] = "";
  DWORD length = 0;
  if (MsiGetPropertyA(installation, kProperty, none, &length) != ERROR_MORE_DATA) {
    throw std::runtime_error("Failed to find the custom action's data");
  }
  // The length reported leaves the terminator out, which needs its place in the buffer.
  std::string folder(size_t{length} + 1, '\0');
  length = static_cast<DWORD>(folder.size());
  if (MsiGetPropertyA(installation, kProperty, folder.data(), &length) != ERROR_SUCCESS) {
    throw std::runtime_error("Failed to read the custom action's data");
  }
  folder.resize(folder.find('\0'));
  // Without a folder the path would lead to a file beside whatever program follows it.
  if (folder.empty()) throw std::runtime_error("The custom action's data is empty");
  return folder;
}

void RegisterModule(const std::string& folder) {
  WritePluginKeys(kShortName, kDescription, kVersion, folder + KSV_MODULE_FILE);
}

LSTATUS UnregisterModule() {
  return DeleteKeyTree(HKEY_LOCAL_MACHINE, BuildPluginKeyName(kShortName, kVersion).c_str());
}

LSTATUS ReadRegisteredPath(std::string& path) {
  return ReadText(BuildPluginKeyName(kShortName, kVersion), "Path", path);
}

std::vector<Difference> CheckRegistration() {
  std::string path;
  ReadRegisteredPath(path);
  return CheckKeys(PluginKeys(kShortName, kDescription, kVersion, path));
}

}  // namespace NorvoWebAPI::KSV::Registration
