#include "storage/settings.h"

#include <algorithm>
#include <string>

#include "base/owner.h"

namespace NorvoWebAPI {
namespace {

using WideText = std::basic_string<WCHAR>;

constexpr uint32_t kFolderReadBytes = 256;
static_assert(kFolderReadBytes / 2 - 1 == LibraryPath::kMaxFolder);

using RegistryKey = Owner<HKEY, RegCloseKey>;

RegistryKey OpenSettings() {
  HKEY key = nullptr;
  if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, kSettingsKey, 0, KEY_READ, &key) != ERROR_SUCCESS) {
    return {};
  }
  return RegistryKey(key);
}

bool Is32BitProcessOn64BitSystem() {
  using Query = BOOL(WINAPI*)(HANDLE, BOOL*);
  const HMODULE kernel = GetModuleHandleA("kernel32");
  if (!kernel) return false;
  // The oldest systems lack the call, so it can't be linked.
  const auto query = reinterpret_cast<Query>(reinterpret_cast<void*>(GetProcAddress(kernel, "IsWow64Process")));
  BOOL answer = FALSE;
  return query && query(GetCurrentProcess(), &answer) && answer;
}

}  // namespace

int32_t GetLogLevel() {
  const RegistryKey key = OpenSettings();
  if (!key) return -1;
  int32_t level = 0;
  DWORD size = sizeof level;
  const LONG error =
      RegQueryValueExW(key.Get(), kLogLevelValue, nullptr, nullptr, reinterpret_cast<BYTE*>(&level), &size);
  return error == ERROR_SUCCESS ? level : -1;
}

FolderFault ReadLibraryFolder(WCHAR* data, uint32_t* length) {
  const RegistryKey key = OpenSettings();
  if (!key) return FolderFault::NoKey;
  const size_t room = *length / sizeof(WCHAR);
  DWORD type = 0;
  DWORD size = *length;
  const LONG error =
      RegQueryValueExW(key.Get(), kLibraryFolderValue, nullptr, &type, reinterpret_cast<BYTE*>(data), &size);
  if (error != ERROR_SUCCESS && error != ERROR_MORE_DATA) return FolderFault::NoValue;
  if (type != REG_SZ && type != REG_EXPAND_SZ) return FolderFault::NoText;
  if (error == ERROR_MORE_DATA) return FolderFault::TooLong;
  // The registry doesn't promise that a stored text is terminated.
  const size_t stored = std::min<size_t>(size / sizeof(WCHAR), room);
  const size_t characters = static_cast<size_t>(std::find(data, data + stored, WCHAR{0}) - data);
  if (characters == room) return FolderFault::TooLong;
  data[characters] = 0;
  *length = static_cast<uint32_t>(characters);
  return FolderFault::None;
}

int32_t GetLibraryFolder(WCHAR* data, uint32_t* length) {
  return data && length && ReadLibraryFolder(data, length) == FolderFault::None ? 0 : -1;
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
  if (capacity == 0) return 0;
  const size_t kept = std::min<size_t>(text.size(), capacity - 1);
  *std::copy_n(text.begin(), kept, path) = 0;
  *length = static_cast<uint32_t>(kept);
  return 0;
}

bool LibraryPath::ReadFolder(FolderFault* fault) {
  uint32_t length = kFolderReadBytes;
  const FolderFault met = ReadLibraryFolder(text.data(), &length);
  if (fault) *fault = met;
  return met == FolderFault::None;
}

bool LibraryPath::ReadLoadFolder() {
  uint32_t length = kCapacity;
  if (!ReadFolder() || FixLibraryFolder(text.data(), &length) != 0) return false;
  Append(KSV_WIDE("\\"));
  return true;
}

void LibraryPath::Append(const WCHAR* more) {
  WCHAR* end = std::find(text.data(), text.data() + kCapacity - 1, WCHAR{0});
  WCHAR* const last = text.data() + kCapacity - 1;
  while (end != last && *more) *end++ = *more++;
  *end = 0;
}

}  // namespace NorvoWebAPI
