#include <aclapi.h>
#include <dpapi.h>
#include <sddl.h>
#include <windows.h>

#include <array>
#include <string>
#include <vector>

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
using LocalMemory = NorvoWebAPI::Owner<HLOCAL, LocalFree>;

/// Not a secret: it keeps other programs of the user from decrypting the key by mistake.
constexpr std::string_view kEntropy = "KSV reference libraries, key 1";

File OpenFile(const fs::path& path, DWORD access, DWORD share, DWORD disposition,
              SECURITY_ATTRIBUTES* rights = nullptr) {
  const HANDLE handle = CreateFileW(path.c_str(), access, share, rights, disposition, FILE_ATTRIBUTE_NORMAL, nullptr);
  return File(handle == INVALID_HANDLE_VALUE ? nullptr : handle);
}

/// The user of this process. The first member of the buffer points to its identifier.
std::vector<std::byte> ReadUser() {
  File token;
  Require(OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, token.Put()) != 0, Fault::kStore);
  DWORD size = 0;
  GetTokenInformation(token.Get(), TokenUser, nullptr, 0, &size);
  std::vector<std::byte> user(size);
  Require(size >= sizeof(TOKEN_USER) && GetTokenInformation(token.Get(), TokenUser, user.data(), size, &size) != 0,
          Fault::kStore);
  return user;
}

PSID IdOf(std::vector<std::byte>& user) {
  return reinterpret_cast<TOKEN_USER*>(user.data())->User.Sid;
}

/// The access of this user alone, not inherited from the folder.
LocalMemory MakeOwnRights() {
  std::vector<std::byte> user = ReadUser();
  LocalMemory text;
  Require(ConvertSidToStringSidW(IdOf(user), reinterpret_cast<LPWSTR*>(text.Put())) != 0, Fault::kStore);
  const std::wstring rights = L"D:P(A;;FA;;;" + std::wstring(static_cast<const wchar_t*>(text.Get())) + L")";
  LocalMemory descriptor;
  Require(ConvertStringSecurityDescriptorToSecurityDescriptorW(rights.c_str(), SDDL_REVISION_1, descriptor.Put(),
                                                               nullptr) != 0,
          Fault::kStore);
  return descriptor;
}

File CreateOwnFile(const fs::path& path, DWORD access, DWORD share, DWORD disposition) {
  const LocalMemory descriptor = MakeOwnRights();
  SECURITY_ATTRIBUTES rights{sizeof(rights), descriptor.Get(), FALSE};
  return OpenFile(path, access, share, disposition, &rights);
}

/// Whether an account can read every file of the machine anyway.
bool IsOfTheSystem(PSID id) {
  return IsWellKnownSid(id, WinLocalSystemSid) != 0 || IsWellKnownSid(id, WinBuiltinAdministratorsSid) != 0;
}

/// Whether this user owns the file and no other user has any access to it.
bool IsOwn(const File& file) {
  std::vector<std::byte> user = ReadUser();
  PSID owner = nullptr;
  PACL access = nullptr;
  LocalMemory descriptor;
  if (GetSecurityInfo(file.Get(), SE_FILE_OBJECT, OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION, &owner,
                      nullptr, &access, nullptr, descriptor.Put()) != ERROR_SUCCESS ||
      owner == nullptr || access == nullptr || (EqualSid(owner, IdOf(user)) == 0 && !IsOfTheSystem(owner))) {
    return false;
  }
  for (DWORD at = 0; at < access->AceCount; ++at) {
    void* entry = nullptr;
    if (GetAce(access, at, &entry) == 0) return false;
    const auto& header = *static_cast<const ACE_HEADER*>(entry);
    if (header.AceType == ACCESS_DENIED_ACE_TYPE) continue;
    if (header.AceType != ACCESS_ALLOWED_ACE_TYPE) return false;
    const PSID id = &static_cast<ACCESS_ALLOWED_ACE*>(entry)->SidStart;
    if (EqualSid(id, IdOf(user)) == 0 && !IsOfTheSystem(id)) return false;
  }
  return true;
}

/// `convert(in, entropy, out)` calls one of the two functions of the user's data protection.
template <class Function>
SecretBytes Converted(Function convert, ByteView from) {
  const auto blob = [](ByteView bytes) {
    return DATA_BLOB{static_cast<DWORD>(bytes.size()), const_cast<BYTE*>(bytes.data())};
  };
  DATA_BLOB in = blob(from);
  DATA_BLOB entropy = blob(AsBytes(kEntropy));
  DATA_BLOB out{};
  Require(convert(&in, &entropy, &out) != 0, Fault::kStore);
  const LocalMemory memory(out.pbData);
  const NorvoWebAPI::ScopeExit wipe([&out] { Wipe(out.pbData, out.cbData); });
  return {out.pbData, out.pbData + out.cbData};
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
  // Not the roaming profile, which leaves the machine.
  const fs::path local = PathFromEnvironment("LOCALAPPDATA");
  Require(!local.empty(), Fault::kStore);
  return local / L"Norvo" / name;
}

std::optional<fs::path> PathFromHost(const WCHAR* text) {
  if (text == nullptr) return std::nullopt;
  size_t length = 0;
  while (length < kMaxPathUnits && text[length] != 0) ++length;
  if (length == 0 || length == kMaxPathUnits) return std::nullopt;
  return fs::path(std::wstring(text, length));
}

void CreatePrivateFolder(const fs::path& folder) {
  // The folder inherits the access list of its parent, but the files in it do not.
  std::error_code error;
  fs::create_directories(folder, error);
  Require(!error, Fault::kStore);
}

bool WritePrivateFile(const fs::path& file, ByteView content, IfPresent ifPresent) {
  std::array<uint8_t, 12> random;
  Crypto::FillRandom(random);
  const fs::path name = file.parent_path() / (".new-" + Hex(AsText(random)));
  File out = CreateOwnFile(name, GENERIC_WRITE, 0, CREATE_NEW);
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
  const File in = OpenFile(file, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE, OPEN_EXISTING);
  if (!in) {
    const DWORD reason = GetLastError();
    Require(reason == ERROR_FILE_NOT_FOUND || reason == ERROR_PATH_NOT_FOUND, Fault::kStore);
    return std::nullopt;
  }
  LARGE_INTEGER size;
  Require(GetFileType(in.Get()) == FILE_TYPE_DISK && GetFileSizeEx(in.Get(), &size) != 0 && IsOwn(in) &&
              static_cast<uint64_t>(size.QuadPart) <= limit,
          Fault::kStore);
  SecretBytes content(static_cast<size_t>(size.QuadPart));
  DWORD got = 0;
  Require(ReadFile(in.Get(), content.data(), static_cast<DWORD>(content.size()), &got, nullptr) != 0 &&
              got == content.size(),
          Fault::kStore);
  return content;
}

SecretBytes Protect(ByteView secret) {
  const auto convert = [](DATA_BLOB* in, DATA_BLOB* entropy, DATA_BLOB* out) {
    return CryptProtectData(in, L"", entropy, nullptr, nullptr, CRYPTPROTECT_UI_FORBIDDEN, out);
  };
  return Converted(convert, secret);
}

SecretBytes Unprotect(ByteView secret) {
  const auto convert = [](DATA_BLOB* in, DATA_BLOB* entropy, DATA_BLOB* out) {
    return CryptUnprotectData(in, nullptr, entropy, nullptr, nullptr, CRYPTPROTECT_UI_FORBIDDEN, out);
  };
  return Converted(convert, secret);
}

FileLock::FileLock(const fs::path& file) {
  File opened = CreateOwnFile(file, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, OPEN_ALWAYS);
  Require(static_cast<bool>(opened), Fault::kStore);
  OVERLAPPED whole{};
  Require(LockFileEx(opened.Get(), LOCKFILE_EXCLUSIVE_LOCK, 0, 1, 0, &whole) != 0, Fault::kStore);
  file_ = reinterpret_cast<intptr_t>(opened.Release());
}

FileLock::~FileLock() {
  CloseHandle(reinterpret_cast<HANDLE>(file_));
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
