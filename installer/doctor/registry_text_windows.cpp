#include <algorithm>

#include "base/registry_key.h"
#include "installer/doctor/registry_text.h"

namespace NorvoWebAPI::KSV::Doctor {

LSTATUS ReadText(HKEY root, const std::string& keyName, const char* value, REGSAM view, std::string& text) {
  constexpr DWORD kLongest = 1u << 20;
  RegistryKey key;
  if (const LSTATUS error = RegOpenKeyExA(root, keyName.c_str(), 0, KEY_READ | view, key.Put())) return error;
  DWORD type = REG_NONE;
  DWORD size = 0;
  if (const LSTATUS error = RegQueryValueExA(key.Get(), value, nullptr, &type, nullptr, &size)) return error;
  if ((type != REG_SZ && type != REG_MULTI_SZ) || size > kLongest) return ERROR_INVALID_DATA;
  std::string read(size, '\0');
  const LSTATUS error = RegQueryValueExA(key.Get(), value, nullptr, &type, reinterpret_cast<BYTE*>(read.data()), &size);
  read.resize(std::min<size_t>(size, read.size()));
  if (type == REG_MULTI_SZ) std::ranges::replace(read, '\0', '\n');
  text = read.c_str();  // The text may be stored with its terminator or without.
  return error;
}

}  // namespace NorvoWebAPI::KSV::Doctor
