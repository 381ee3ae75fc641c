#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <string>

#include "kit/shared/crypto.h"
#include "kit/shared/hex.h"
#include "kit/shared/system.h"

namespace KsvKit::System {
namespace {

namespace fs = std::filesystem;

constexpr size_t kMaxPathUnits = 32767;
constexpr mode_t kOpenToOthers = S_IRWXG | S_IRWXO;

class File {
 public:
  explicit File(int descriptor) noexcept : descriptor_(descriptor) {}
  ~File() { Close(); }
  File(const File&) = delete;
  File& operator=(const File&) = delete;

  int get() const noexcept { return descriptor_; }
  bool Close() noexcept {
    const bool closed = descriptor_ < 0 || close(descriptor_) == 0;
    descriptor_ = -1;
    return closed;
  }

 private:
  int descriptor_;
};

/// Takes the file away again unless it has been moved to its place.
class TemporaryFile {
 public:
  explicit TemporaryFile(fs::path path) : path_(std::move(path)) {}
  ~TemporaryFile() { unlink(path_.c_str()); }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  const char* name() const noexcept { return path_.c_str(); }

 private:
  fs::path path_;
};

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

std::optional<fs::path> PathFromHost(const WideChar* text) {
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
  Require(out.get() >= 0, Fault::kStore);
  const TemporaryFile temporary(name);
  WriteAll(out.get(), content);
  Require(fsync(out.get()) == 0 && out.Close(), Fault::kStore);
  if (ifPresent == IfPresent::kReplace) {
    Require(rename(temporary.name(), file.c_str()) == 0, Fault::kStore);
    return true;
  }
  // A second name for the finished file: unlike a rename this fails when another process was quicker.
  if (link(temporary.name(), file.c_str()) == 0) return true;
  Require(errno == EEXIST, Fault::kStore);
  return false;
}

std::optional<SecretBytes> ReadPrivateFile(const fs::path& file, size_t limit) {
  const File in(open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK));
  if (in.get() < 0 && errno == ENOENT) return std::nullopt;
  Require(in.get() >= 0, Fault::kStore);
  struct stat facts;
  Require(fstat(in.get(), &facts) == 0 && S_ISREG(facts.st_mode) && facts.st_uid == geteuid() &&
              (facts.st_mode & kOpenToOthers) == 0 && static_cast<uint64_t>(facts.st_size) <= limit,
          Fault::kStore);
  SecretBytes content(static_cast<size_t>(facts.st_size));
  for (size_t done = 0; done < content.size();) {
    const ssize_t got = read(in.get(), content.data() + done, content.size() - done);
    if (got < 0 && errno == EINTR) continue;
    Require(got > 0, Fault::kStore);
    done += static_cast<size_t>(got);
  }
  return content;
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
