#include "registration/registration.h"

#include <stdexcept>

#include "base/product.h"
#include "registration/plugin_keys.h"

namespace NorvoWebAPI::KSV::Registration {

std::string ReadInstallerFolder(MSIHANDLE installation) {
  static constexpr char kProperty[] = "CustomActionData";
  char none[] = "";
  DWORD length = 0;
  if (MsiGetPropertyA(installation, kProperty, none, &length) != ERROR_MORE_DATA) {
    throw std::runtime_error("Failed to find the custom action's data");
  }
  // The reported length is without the terminator, for which the buffer needs one more.
  std::string folder(size_t{length} + 1, '\0');
  length = static_cast<DWORD>(folder.size());
  if (MsiGetPropertyA(installation, kProperty, folder.data(), &length) != ERROR_SUCCESS) {
    throw std::runtime_error("Failed to read the custom action's data");
  }
  folder.resize(folder.find('\0'));
  // The path would be relative to the working folder of whatever browser reads it.
  if (folder.empty()) throw std::runtime_error("The custom action's data is empty");
  return folder;
}

void RegisterModule(const std::string& folder) {
  WritePluginKeys(kShortName, kDescription, kVersion, folder + KSV_MODULE_FILE);
}

void UnregisterModule() {
  DeleteKeyTree(HKEY_LOCAL_MACHINE, BuildPluginKeyName(kShortName, kVersion).c_str());
}

}  // namespace NorvoWebAPI::KSV::Registration
