#include "storage/settings.h"

#include <algorithm>
#include <string>

#include "base/registry_key.h"

namespace NorvoWebAPI {
namespace {

using WideText = std::basic_string<WCHAR>;

// Reads a value's bytes. On entry `*size` is the room in `data`, on success the bytes stored there.
bool ReadSetting(const WCHAR* name, void* data, DWORD* size, DWORD* type) {
  RegistryKey key;
  return RegOpenKeyExW(HKEY_LOCAL_MACHINE, kSettingsKey, 0, KEY_READ, key.Put()) == ERROR_SUCCESS &&
         RegQueryValueExW(key.Get(), name, nullptr, type, static_cast<BYTE*>(data), size) == ERROR_SUCCESS;
}

bool Is32BitProcessOn64BitSystem() {
  using Query = BOOL(WINAPI*)(HANDLE, BOOL*);
  // The oldest systems lack the call, so it can't be linked.
  const auto query =
      reinterpret_cast<Query>(reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA("kernel32"), "IsWow64Process")));
  BOOL answer = FALSE;
  return query && query(GetCurrentProcess(), &answer) && answer;
}

}  // namespace

int32_t GetLogLevel() {
  int32_t level = 0;
  DWORD size = sizeof level;
  return ReadSetting(kLogLevelValue, &level, &size, nullptr) ? level : -1;
}

int32_t GetLibraryFolder(WCHAR* data, uint32_t* length) {
  if (!data || !length) return -1;
  DWORD type = REG_NONE;
  DWORD size = *length;
  if (!ReadSetting(kLibraryFolderValue, data, &size, &type) || (type != REG_SZ && type != REG_EXPAND_SZ)) return -1;
  // The registry doesn't promise that a stored text is terminated.
  WCHAR* const end = std::find(data, data + size / sizeof(WCHAR), WCHAR{0});
  if (end == data + *length / sizeof(WCHAR)) return -1;
  *end = 0;
  *length = static_cast<uint32_t>(end - data);
  return 0;
}

int32_t FixLibraryFolder(WCHAR* path, uint32_t* length) {
  if (!path || !length) return -1;
  const uint32_t capacity = *length;
  WideText text(path, std::find(path, path + capacity, WCHAR{0}));
  // With nothing else in it the text becomes empty: npos + 1 is 0.
  text.resize(text.find_last_not_of(KSV_WIDE(" \t\f\v\n\r\\")) + 1);
  if (Is32BitProcessOn64BitSystem()) {
    const WideText own = KSV_WIDE("Program Files\\");
    if (const size_t place = text.find(own); place != WideText::npos) {
      text.replace(place, own.size(), KSV_WIDE("Program Files (x86)\\"));
    }
  }
  const size_t kept = std::min<size_t>(text.size(), capacity - 1);
  *std::copy_n(text.begin(), kept, path) = 0;
  *length = static_cast<uint32_t>(kept);
  return 0;
}

bool LibraryPath::ReadFolder() {
  uint32_t bytes = (kMaxFolder + 1) * sizeof(WCHAR);
  return GetLibraryFolder(text.data(), &bytes) == 0;
}

bool LibraryPath::ReadLoadFolder() {
  uint32_t length = kCapacity;
  if (!ReadFolder() || FixLibraryFolder(text.data(), &length) != 0) return false;
  Append(KSV_WIDE("\\"));
  return true;
}

void LibraryPath::Append(const WCHAR* more) {
  WCHAR* const last = text.data() + kCapacity - 1;
  WCHAR* end = std::find(text.data(), last, WCHAR{0});
  while (end != last && *more) *end++ = *more++;
  *end = 0;
}

}  // namespace NorvoWebAPI
