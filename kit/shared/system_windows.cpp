#include <windows.h>

#include <array>
#include <string>

#include "base/owner.h"
#include "base/scope_exit.h"
#include "kit/shared/crypto.h"
#include "kit/shared/hex.h"
#include "kit/shared/system.h"

namespace KsvKit::System {
namespace {

namespace fs = std::filesystem;

constexpr size_t kMaxPathUnits = 32767;

using File = NorvoWebAPI::Owner<HANDLE, CloseHandle>;

File OpenFile(const fs::path& path, DWORD access, DWORD disposition) {
  const HANDLE handle =
      CreateFileW(path.c_str(), access, access == GENERIC_READ ? FILE_SHARE_READ | FILE_SHARE_DELETE : 0, nullptr,
                  disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
  return File(handle == INVALID_HANDLE_VALUE ? nullptr : handle);
}

}  // namespace

/// From the system, because the C run time of this library has a copy of the environment that does not get a host's
/// later changes.
fs::path PathFromEnvironment(const char* variable) {
  const std::wstring name(variable, variable + std::char_traits<char>::length(variable));
  std::wstring value(MAX_PATH, L'\0');
  for (;;) {
    const DWORD length = GetEnvironmentVariableW(name.c_str(), value.data(), static_cast<DWORD>(value.size()));
    const bool fits = length < value.size();
    value.resize(length);
    if (fits) return value;
  }
}

fs::path HomeFolder(const char* variable, const char* name) {
  if (fs::path home = PathFromEnvironment(variable); !home.empty()) return home;
  const fs::path roaming = PathFromEnvironment("APPDATA");
  Require(!roaming.empty(), Fault::kStore);
  return roaming / L"Norvo" / name;
}

std::optional<fs::path> PathFromHost(const WCHAR* text) {
  if (text == nullptr) return std::nullopt;
  size_t length = 0;
  while (length < kMaxPathUnits && text[length] != 0) ++length;
  if (length == 0 || length == kMaxPathUnits) return std::nullopt;
  return fs::path(std::wstring(text, length));
}

void CreatePrivateFolder(const fs::path& folder) {
  // The folder inherits the access list of its parent: within the user's profile other users have no access.
  std::error_code error;
  fs::create_directories(folder, error);
  Require(!error, Fault::kStore);
}

bool WritePrivateFile(const fs::path& file, ByteView content, IfPresent ifPresent) {
  std::array<uint8_t, 12> random;
  Crypto::FillRandom(random);
  const fs::path name = file.parent_path() / (".new-" + Hex(AsText(random)));
  File out = OpenFile(name, GENERIC_WRITE, CREATE_NEW);
  Require(static_cast<bool>(out), Fault::kStore);
  // After a move there is no such name any more.
  const NorvoWebAPI::ScopeExit removeTemporary([&name] { DeleteFileW(name.c_str()); });
  DWORD written = 0;
  Require(WriteFile(out.Get(), content.data(), static_cast<DWORD>(content.size()), &written, nullptr) != 0 &&
              written == content.size() && FlushFileBuffers(out.Get()) != 0,
          Fault::kStore);
  out.Reset();
  const DWORD replace = ifPresent == IfPresent::kReplace ? MOVEFILE_REPLACE_EXISTING : 0;
  if (MoveFileExW(name.c_str(), file.c_str(), replace | MOVEFILE_WRITE_THROUGH) != 0) return true;
  const DWORD reason = GetLastError();
  Require(replace == 0 && (reason == ERROR_ALREADY_EXISTS || reason == ERROR_FILE_EXISTS), Fault::kStore);
  return false;
}

std::optional<SecretBytes> ReadPrivateFile(const fs::path& file, size_t limit) {
  const File in = OpenFile(file, GENERIC_READ, OPEN_EXISTING);
  if (!in) {
    const DWORD reason = GetLastError();
    Require(reason == ERROR_FILE_NOT_FOUND || reason == ERROR_PATH_NOT_FOUND, Fault::kStore);
    return std::nullopt;
  }
  LARGE_INTEGER size;
  Require(GetFileType(in.Get()) == FILE_TYPE_DISK && GetFileSizeEx(in.Get(), &size) != 0 &&
              static_cast<uint64_t>(size.QuadPart) <= limit,
          Fault::kStore);
  SecretBytes content(static_cast<size_t>(size.QuadPart));
  DWORD got = 0;
  Require(ReadFile(in.Get(), content.data(), static_cast<DWORD>(content.size()), &got, nullptr) != 0 &&
              got == content.size(),
          Fault::kStore);
  return content;
}

ModulePin::ModulePin() noexcept {
  HMODULE self = nullptr;
  if (GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, reinterpret_cast<LPCWSTR>(&HomeFolder), &self) != 0) {
    module_ = self;
  }
}

ModulePin::~ModulePin() {
  if (module_ != nullptr) FreeLibrary(static_cast<HMODULE>(module_));
}

}  // namespace KsvKit::System
