#include "base/text.h"

#include <cstddef>
#include <memory>
#include <new>

#include "base/result_codes.h"

namespace NorvoWebAPI {
namespace {

[[noreturn]] void ThrowLastError() {
  throw _com_error(HRESULT_FROM_WIN32(GetLastError()));
}

}  // namespace

Bstr BstrFromNarrow(const char* text) {
  if (!text) return {};
  const int size = MultiByteToWideChar(CP_ACP, 0, text, -1, nullptr, 0);
  if (size <= 0) ThrowLastError();
  const std::unique_ptr<WCHAR[]> wide(new (std::nothrow) WCHAR[static_cast<size_t>(size)]);
  if (!wide) throw _com_error(E_OUTOFMEMORY);
  if (MultiByteToWideChar(CP_ACP, 0, text, -1, wide.get(), size) == 0) ThrowLastError();
  Bstr converted(SysAllocString(wide.get()));
  if (!converted) throw _com_error(E_OUTOFMEMORY);
  return converted;
}

Bstr BstrOfExactLength(const std::string& text) {
  const int length = static_cast<int>(text.size());
  const int size = MultiByteToWideChar(CP_ACP, 0, text.data(), length, nullptr, 0);
  Bstr wide(size > 0 ? SysAllocStringLen(nullptr, static_cast<UINT>(size)) : nullptr);
  if (!wide || MultiByteToWideChar(CP_ACP, 0, text.data(), length, wide.Get(), size) == 0) {
    throw KSV::CPluginException{KSV::kFailed};
  }
  return wide;
}

std::optional<std::string> NarrowFromBstr(BSTR text) {
  if (!text) return std::nullopt;
  const int size = WideCharToMultiByte(CP_ACP, 0, text, -1, nullptr, 0, nullptr, nullptr);
  if (size <= 0) ThrowLastError();
  const std::unique_ptr<char[]> narrow(new (std::nothrow) char[static_cast<size_t>(size)]);
  if (!narrow) throw _com_error(E_OUTOFMEMORY);
  if (WideCharToMultiByte(CP_ACP, 0, text, -1, narrow.get(), size, nullptr, nullptr) == 0) ThrowLastError();
  return narrow.get();
}

}  // namespace NorvoWebAPI
