#include <cstring>

#include "platform/internal.h"
#include "platform/testing_backend.h"

using platform::InjectedError;

namespace {

struct InstallerProperties {
  std::mutex mutex;
  std::map<std::string, std::string> byName;
};

}  // namespace

UINT MsiGetPropertyA(MSIHANDLE, LPCSTR name, LPSTR value, DWORD* length) {
  if (const DWORD error = InjectedError("MsiGetPropertyA")) return error;
  if (name == nullptr || value == nullptr || length == nullptr) return ERROR_INVALID_PARAMETER;
  auto& properties = platform::Immortal<InstallerProperties>();
  const std::lock_guard lock(properties.mutex);
  const auto found = properties.byName.find(name);
  if (found == properties.byName.end()) return ERROR_INVALID_HANDLE;
  const std::string& text = found->second;
  const DWORD size = *length;
  *length = static_cast<DWORD>(text.size());
  if (size <= text.size()) return ERROR_MORE_DATA;
  std::memcpy(value, text.c_str(), text.size() + 1);
  return ERROR_SUCCESS;
}

namespace platform {

void SetInstallerProperty(const std::string& name, const char* value) {
  auto& properties = Immortal<InstallerProperties>();
  const std::lock_guard lock(properties.mutex);
  if (value == nullptr) {
    properties.byName.erase(name);
  } else {
    properties.byName[name] = value;
  }
}

}  // namespace platform
