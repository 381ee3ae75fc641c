#include "foundation/text.h"

#include <cstddef>

namespace NorvoWebAPI {
namespace {

[[noreturn]] void ThrowLastError() { throw _com_error(HRESULT_FROM_WIN32(GetLastError())); }

}  // namespace

Bstr BstrFromNarrow(const char* text) {
  if (!text) return {};
  const int size = MultiByteToWideChar(CP_ACP, 0, text, -1, nullptr, 0);
  if (size <= 0) ThrowLastError();
  std::basic_string<WCHAR> wide(static_cast<size_t>(size), WCHAR{0});
  if (MultiByteToWideChar(CP_ACP, 0, text, -1, wide.data(), size) == 0) ThrowLastError();
  Bstr converted(SysAllocString(wide.c_str()));
  if (!converted) throw _com_error(E_OUTOFMEMORY);
  return converted;
}

std::optional<std::string> NarrowFromBstr(BSTR text) {
  if (!text) return std::nullopt;
  const int size = WideCharToMultiByte(CP_ACP, 0, text, -1, nullptr, 0, nullptr, nullptr);
  if (size <= 0) ThrowLastError();
  std::string narrow(static_cast<size_t>(size), '\0');
  if (WideCharToMultiByte(CP_ACP, 0, text, -1, narrow.data(), size, nullptr, nullptr) == 0) ThrowLastError();
  narrow.pop_back();
  return narrow;
}

void NormalizeOrigin(std::string& url) {
  static constexpr char kAfterScheme[] = "://";
  if (const size_t scheme = url.find(kAfterScheme); scheme != std::string::npos) {
    if (const size_t path = url.find('/', scheme + 3); path != std::string::npos) url.resize(path);
    url.replace(scheme, 3, 1, '_');
  }
  if (const size_t colon = url.find(':'); colon != std::string::npos) url[colon] = '_';
}

}  // namespace NorvoWebAPI
