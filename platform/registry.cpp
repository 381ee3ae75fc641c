#include <algorithm>
#include <cstring>

#include "platform/internal.h"
#include "platform/registry_store.h"

using platform::CallName;
using platform::KeyPath;
using platform::RegistryStore;
using platform::RegistryValue;
using Json = platform::RegistryStore::Json;

namespace {

// A handle stands for a path, so another program's change of the file is seen through it at once.
auto& OpenKeys() {
  static platform::NeverDestroyed<platform::HandleTable<const KeyPath, 0x30000004>> keys;
  return *keys;
}

// One call at a time reads and writes the store.
std::mutex& StoreMutex() {
  static platform::NeverDestroyed<std::mutex> mutex;
  return *mutex;
}

// Runs a call's work: lets a test make it fail, takes the lock, and turns exceptions into errors.
template <class Work>
LSTATUS Guarded(CallName call, Work work) {
  if (const DWORD error = platform::InjectedError(call)) return static_cast<LSTATUS>(error);
  const platform::UnfailingMemory unfailing;  // The JSON library allocates in destructors.
  try {
    const std::lock_guard lock(StoreMutex());
    return work();
  } catch (const std::bad_alloc&) {
    return ERROR_OUTOFMEMORY;
  } catch (const std::exception&) {
    return ERROR_REGISTRY_IO_FAILED;
  }
}

// Writes to `path` the key that a handle and a path below it mean. Returns false for an invalid handle.
bool Resolve(HKEY parent, std::string_view subKey, KeyPath& path) {
  if (parent == HKEY_LOCAL_MACHINE) {
    path = {"HKEY_LOCAL_MACHINE"};
  } else if (parent == HKEY_CURRENT_USER) {
    path = {"HKEY_CURRENT_USER"};
  } else if (const auto open = OpenKeys().Find(parent)) {
    path = *open;
  } else {
    return false;
  }
  while (!subKey.empty()) {
    const size_t end = std::min(subKey.find('\\'), subKey.size());
    if (end > 0) path.emplace_back(subKey.substr(0, end));
    subKey.remove_prefix(std::min(end + 1, subKey.size()));
  }
  return true;
}

HKEY NewHandle(KeyPath path) {
  return static_cast<HKEY>(OpenKeys().Add(std::make_shared<const KeyPath>(std::move(path))));
}

LSTATUS OpenKey(HKEY parent, const std::string& subKey, PHKEY key) {
  if (!key) return ERROR_INVALID_PARAMETER;
  KeyPath path;
  if (!Resolve(parent, subKey, path)) return ERROR_INVALID_HANDLE;
  RegistryStore store;
  if (!store.FindKey(path)) return ERROR_FILE_NOT_FOUND;
  *key = NewHandle(std::move(path));
  return ERROR_SUCCESS;
}

LSTATUS CreateKey(HKEY parent, const std::string& subKey, PHKEY key, const DWORD* disposition) {
  if (disposition) return ERROR_CALL_NOT_IMPLEMENTED;
  if (!key) return ERROR_INVALID_PARAMETER;
  KeyPath path;
  if (!Resolve(parent, subKey, path)) return ERROR_INVALID_HANDLE;
  RegistryStore store;
  bool isNew = false;
  if (!store.MakeKey(path, &isNew)) return ERROR_INVALID_PARAMETER;
  if (isNew) {
    if (const LSTATUS error = store.Save()) return error;
  }
  *key = NewHandle(std::move(path));
  return ERROR_SUCCESS;
}

// Runs `work` on the key behind a handle.
template <class Work>
LSTATUS WithKey(HKEY handle, Work work) {
  KeyPath path;
  if (!Resolve(handle, "", path)) return ERROR_INVALID_HANDLE;
  RegistryStore store;
  Json* key = store.FindKey(path);
  return key ? work(store, *key) : ERROR_KEY_DELETED;
}

LSTATUS SetValue(HKEY handle, const std::string& name, RegistryValue value) {
  return WithKey(handle, [&](RegistryStore& store, Json& key) -> LSTATUS {
    if (RegistryStore::FindSubKey(key, name)) return ERROR_INVALID_PARAMETER;
    Json* member = RegistryStore::FindValue(key, name);
    if (!member) member = &key[name];
    *member = RegistryStore::Encode(name, value);
    return store.Save();
  });
}

bool IsText(DWORD type) {
  return type == REG_SZ || type == REG_EXPAND_SZ || type == REG_MULTI_SZ;
}

// `present` turns the value into the form that the caller reads.
template <class Present>
LSTATUS QueryValue(HKEY handle, const std::string& name, DWORD* type, BYTE* data, DWORD* size, Present present) {
  if (data && !size) return ERROR_INVALID_PARAMETER;
  return WithKey(handle, [&](RegistryStore&, Json& key) -> LSTATUS {
    const Json* member = RegistryStore::FindValue(key, name);
    auto value = member ? RegistryStore::Decode(*member) : std::nullopt;
    if (!value) return ERROR_FILE_NOT_FOUND;
    present(*value);
    if (type) *type = value->type;
    if (!size) return ERROR_SUCCESS;
    const DWORD capacity = *size;
    *size = static_cast<DWORD>(value->data.size());
    if (!data) return ERROR_SUCCESS;
    if (value->data.size() > capacity) return ERROR_MORE_DATA;
    if (!value->data.empty()) std::memcpy(data, value->data.data(), value->data.size());
    return ERROR_SUCCESS;
  });
}

std::string NarrowName(LPCWSTR name) {
  return name ? platform::Narrow(name) : std::string();
}
std::string NarrowName(LPCSTR name) {
  return name ? name : "";
}

}  // namespace

LSTATUS RegOpenKeyExA(HKEY parent, LPCSTR subKey, DWORD, REGSAM, PHKEY key) {
  return Guarded("RegOpenKeyEx", [&] { return OpenKey(parent, NarrowName(subKey), key); });
}

LSTATUS RegOpenKeyExW(HKEY parent, LPCWSTR subKey, DWORD, REGSAM, PHKEY key) {
  return Guarded("RegOpenKeyEx", [&] { return OpenKey(parent, NarrowName(subKey), key); });
}

LSTATUS RegCreateKeyExA(HKEY parent, LPCSTR subKey, DWORD, LPSTR, DWORD, REGSAM, const SECURITY_ATTRIBUTES*, PHKEY key,
                        DWORD* disposition) {
  return Guarded("RegCreateKeyEx", [&] { return CreateKey(parent, NarrowName(subKey), key, disposition); });
}

LSTATUS RegCreateKeyExW(HKEY parent, LPCWSTR subKey, DWORD, LPWSTR, DWORD, REGSAM, const SECURITY_ATTRIBUTES*,
                        PHKEY key, DWORD* disposition) {
  return Guarded("RegCreateKeyEx", [&] { return CreateKey(parent, NarrowName(subKey), key, disposition); });
}

LSTATUS RegCloseKey(HKEY key) {
  if (key == HKEY_LOCAL_MACHINE || key == HKEY_CURRENT_USER) return ERROR_SUCCESS;
  return OpenKeys().Remove(key) ? ERROR_SUCCESS : ERROR_INVALID_HANDLE;
}

LSTATUS RegQueryValueExA(HKEY key, LPCSTR name, DWORD*, DWORD* type, BYTE* data, DWORD* size) {
  return Guarded("RegQueryValueEx", [&] {
    return QueryValue(key, NarrowName(name), type, data, size, [](RegistryValue& value) {
      if (!IsText(value.type)) return;
      std::u16string wide(value.data.size() / sizeof(WCHAR), u'\0');
      if (!wide.empty()) std::memcpy(wide.data(), value.data.data(), wide.size() * sizeof(WCHAR));
      const std::string narrow = platform::Narrow(wide);
      value.data.assign(narrow.begin(), narrow.end());
    });
  });
}

LSTATUS RegQueryValueExW(HKEY key, LPCWSTR name, DWORD*, DWORD* type, BYTE* data, DWORD* size) {
  return Guarded("RegQueryValueEx",
                 [&] { return QueryValue(key, NarrowName(name), type, data, size, [](RegistryValue&) {}); });
}

LSTATUS RegSetValueExA(HKEY key, LPCSTR name, DWORD, DWORD type, const BYTE* data, DWORD size) {
  return Guarded("RegSetValueEx", [&]() -> LSTATUS {
    if (!data && size != 0) return ERROR_INVALID_PARAMETER;
    RegistryValue value{type, std::vector<BYTE>(data, data + size)};
    if (IsText(type)) {
      const std::u16string wide = platform::Widen({reinterpret_cast<const char*>(data), size});
      value.data.resize(wide.size() * sizeof(WCHAR));
      if (!wide.empty()) std::memcpy(value.data.data(), wide.data(), value.data.size());
    }
    return SetValue(key, NarrowName(name), std::move(value));
  });
}

LSTATUS RegSetValueExW(HKEY key, LPCWSTR name, DWORD, DWORD type, const BYTE* data, DWORD size) {
  return Guarded("RegSetValueEx", [&]() -> LSTATUS {
    if (!data && size != 0) return ERROR_INVALID_PARAMETER;
    return SetValue(key, NarrowName(name), {type, std::vector<BYTE>(data, data + size)});
  });
}

LSTATUS RegQueryInfoKeyA(HKEY handle, LPSTR className, DWORD* classLength, DWORD*, DWORD* subKeys, DWORD* longestSubKey,
                         DWORD* longestClass, DWORD* values, DWORD* longestValueName, DWORD* longestValue,
                         DWORD* securitySize, FILETIME* lastWrite) {
  return Guarded("RegQueryInfoKeyA", [&]() -> LSTATUS {
    if (className || classLength || longestClass || values || longestValueName || longestValue || securitySize ||
        lastWrite) {
      return ERROR_CALL_NOT_IMPLEMENTED;
    }
    return WithKey(handle, [&](RegistryStore&, Json& key) -> LSTATUS {
      const auto names = RegistryStore::SubKeyNames(key);
      size_t longest = 0;
      for (const std::string& name : names) longest = std::max(longest, name.size());
      if (subKeys) *subKeys = static_cast<DWORD>(names.size());
      if (longestSubKey) *longestSubKey = static_cast<DWORD>(longest);
      return ERROR_SUCCESS;
    });
  });
}

LSTATUS RegEnumKeyExA(HKEY handle, DWORD index, LPSTR name, DWORD* nameLength, DWORD*, LPSTR className,
                      DWORD* classLength, FILETIME* lastWrite) {
  return Guarded("RegEnumKeyExA", [&]() -> LSTATUS {
    if (className || classLength || lastWrite) return ERROR_CALL_NOT_IMPLEMENTED;
    if (!name || !nameLength) return ERROR_INVALID_PARAMETER;
    return WithKey(handle, [&](RegistryStore&, Json& key) -> LSTATUS {
      const auto names = RegistryStore::SubKeyNames(key);
      if (index >= names.size()) return ERROR_NO_MORE_ITEMS;
      const std::string& found = names[index];
      if (found.size() >= *nameLength) return ERROR_MORE_DATA;
      std::memcpy(name, found.c_str(), found.size() + 1);
      *nameLength = static_cast<DWORD>(found.size());
      return ERROR_SUCCESS;
    });
  });
}

LSTATUS RegDeleteKeyA(HKEY parent, LPCSTR subKey) {
  return Guarded("RegDeleteKeyA", [&]() -> LSTATUS {
    KeyPath path;
    if (!subKey) return ERROR_INVALID_PARAMETER;
    if (!Resolve(parent, subKey, path)) return ERROR_INVALID_HANDLE;
    RegistryStore store;
    Json* key = store.FindKey(path);
    if (!key) return ERROR_FILE_NOT_FOUND;
    if (path.size() == 1 || !RegistryStore::SubKeyNames(*key).empty()) return ERROR_ACCESS_DENIED;
    const std::string name = path.back();
    path.pop_back();
    RegistryStore::RemoveSubKey(*store.FindKey(path), name);
    return store.Save();
  });
}
