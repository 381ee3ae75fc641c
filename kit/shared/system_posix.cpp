#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
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
constexpr mode_t kOpenToOthers = S_IRWXG | S_IRWXO;

using File = NorvoWebAPI::Owner<int, close, -1>;

void WriteAll(int descriptor, ByteView content) {
  while (!content.empty()) {
    const ssize_t written = write(descriptor, content.data(), content.size());
    if (written < 0 && errno == EINTR) continue;
    Require(written > 0, Fault::kStore);
    content = content.subspan(static_cast<size_t>(written));
  }
}

fs::path TemporaryName(const fs::path& folder) {
  std::array<uint8_t, 12> random;
  Crypto::FillRandom(random);
  return folder / (".new-" + Hex(AsText(random)));
}

}  // namespace

fs::path PathFromEnvironment(const char* variable) {
  const char* value = std::getenv(variable);
  return value != nullptr ? value : "";
}

fs::path HomeFolder(const char* variable, const char* name) {
  if (fs::path home = PathFromEnvironment(variable); !home.empty()) return home;
  if (const fs::path data = PathFromEnvironment("XDG_DATA_HOME"); !data.empty()) return data / "norvo" / name;
  const fs::path user = PathFromEnvironment("HOME");
  Require(!user.empty(), Fault::kStore);
  return user / ".local/share/norvo" / name;
}

std::optional<fs::path> PathFromHost(const WCHAR* text) {
  if (text == nullptr) return std::nullopt;
  size_t length = 0;
  while (length < kMaxPathUnits && text[length] != 0) ++length;
  if (length == 0 || length == kMaxPathUnits) return std::nullopt;
  std::u16string name(text, length);
  std::replace(name.begin(), name.end(), u'\\', u'/');
  try {
    return fs::path(name);
  } catch (const fs::filesystem_error&) {
    return std::nullopt;
  }
}

void CreatePrivateFolder(const fs::path& folder) {
  std::error_code error;
  if (folder.has_parent_path()) fs::create_directories(folder.parent_path(), error);
  Require(!error && (mkdir(folder.c_str(), S_IRWXU) == 0 || errno == EEXIST), Fault::kStore);
}

bool WritePrivateFile(const fs::path& file, ByteView content, IfPresent ifPresent) {
  const fs::path name = TemporaryName(file.parent_path());
  File out(open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR));
  Require(static_cast<bool>(out), Fault::kStore);
  // After a rename there is no such name any more.
  const NorvoWebAPI::ScopeExit removeTemporary([&name] { unlink(name.c_str()); });
  WriteAll(out.Get(), content);
  Require(fsync(out.Get()) == 0 && close(out.Release()) == 0, Fault::kStore);
  if (ifPresent == IfPresent::kReplace) {
    Require(rename(name.c_str(), file.c_str()) == 0, Fault::kStore);
    return true;
  }
  // Unlike a rename, a hard link fails when another process has created the file meanwhile.
  if (link(name.c_str(), file.c_str()) == 0) return true;
  Require(errno == EEXIST, Fault::kStore);
  return false;
}

std::optional<SecretBytes> ReadPrivateFile(const fs::path& file, size_t limit) {
  const File in(open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
  if (!in && errno == ENOENT) return std::nullopt;
  Require(static_cast<bool>(in), Fault::kStore);
  struct stat facts;
  Require(fstat(in.Get(), &facts) == 0 && S_ISREG(facts.st_mode) && facts.st_uid == geteuid() &&
              (facts.st_mode & kOpenToOthers) == 0 && static_cast<uint64_t>(facts.st_size) <= limit,
          Fault::kStore);
  SecretBytes content(static_cast<size_t>(facts.st_size));
  for (size_t done = 0; done < content.size();) {
    const ssize_t got = read(in.Get(), content.data() + done, content.size() - done);
    if (got < 0 && errno == EINTR) continue;
    Require(got > 0, Fault::kStore);
    done += static_cast<size_t>(got);
  }
  return content;
}

SecretBytes Protect(ByteView secret) {
  return {secret.begin(), secret.end()};
}

SecretBytes Unprotect(ByteView secret) {
  return {secret.begin(), secret.end()};
}

FileLock::FileLock(const fs::path& file) {
  File opened(open(file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR));
  Require(static_cast<bool>(opened), Fault::kStore);
  int locked = 0;
  do {
    locked = flock(opened.Get(), LOCK_EX);
  } while (locked != 0 && errno == EINTR);
  Require(locked == 0, Fault::kStore);
  file_ = opened.Release();
}

FileLock::~FileLock() {
  close(static_cast<int>(file_));
}

ModulePin::ModulePin() noexcept {
  Dl_info self;
  if (dladdr(reinterpret_cast<const void*>(&HomeFolder), &self) == 0 || self.dli_fname == nullptr) return;
  module_ = dlopen(self.dli_fname, RTLD_LAZY | RTLD_NOLOAD);
}

ModulePin::~ModulePin() {
  if (module_ != nullptr) dlclose(module_);
}

}  // namespace KsvKit::System
