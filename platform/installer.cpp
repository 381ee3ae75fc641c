#include <cstring>

#include "platform/internal.h"

UINT MsiGetPropertyA(MSIHANDLE, LPCSTR name, LPSTR value, DWORD* length) {
  if (const DWORD error = platform::InjectedError("MsiGetPropertyA")) return error;
  if (!name || !value || !length) return ERROR_INVALID_PARAMETER;
  platform::FaultSource* const faults = platform::InstalledFaultSource();
  const auto text = faults ? faults->InstallerProperty(name) : std::nullopt;
  if (!text) return ERROR_INVALID_HANDLE;
  const DWORD size = *length;
  *length = static_cast<DWORD>(text->size());
  if (size <= text->size()) return ERROR_MORE_DATA;
  std::memcpy(value, text->c_str(), text->size() + 1);
  return ERROR_SUCCESS;
}
