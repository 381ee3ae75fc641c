#include "storage/platform_files.h"

#include <array>
#include <cstdlib>
#include <functional>
#include <stdexcept>

#include "base/owner.h"
#include "base/result_codes.h"
#include "platform/system_path.h"
#include "platform/win32.h"

namespace NorvoWebAPI::Platform {
namespace {

using KSV::CPluginException;

std::string ReadAppData() {
  char* value = nullptr;
  size_t size = 0;
  const bool failed = _dupenv_s(&value, &size, "AppData") != 0;
  const Owner<char*, std::free> owned(value);
  if (failed || !value || !*value) throw std::runtime_error("Failed to find AppData environment variable");
  return value;
}

// Takes off a last "\Roaming": the plug-in's data stays on this machine, the roaming profile follows its user.
std::string WithoutRoaming(std::string folder) {
  static constexpr char kRoaming[] = "\\Roaming";
  if (folder.ends_with(kRoaming)) folder.resize(folder.size() - (sizeof kRoaming - 1));
  return folder;
}

// Makes the folder that the first `length` characters of `path` name, and first those above it.
void MakeFolder(const std::string& path, size_t length) {
  const size_t above = path.rfind('\\', length - 1);
  if (above != std::string::npos && above != 0) MakeFolder(path, above);
  if (!CreateDirectoryA(path.substr(0, length).c_str(), nullptr) && GetLastError() != ERROR_ALREADY_EXISTS) {
    throw std::runtime_error("Failed to create directory");
  }
}

using FileSearch = Owner<HANDLE, FindClose>;

// Calls `visit` with each entry whose name doesn't start with a full stop, until it gives true. Gives the system's
// error at the end of the listing, or 0 when it never started or `visit` ended it.
DWORD VisitEntries(const std::string& pattern, const std::function<bool(const WIN32_FIND_DATAA&)>& visit) {
  WIN32_FIND_DATAA entry;
  const HANDLE handle = FindFirstFileA(pattern.c_str(), &entry);
  if (handle == INVALID_HANDLE_VALUE) return 0;
  const FileSearch search(handle);
  do {
    if (entry.cFileName[0] != '.' && visit(entry)) return 0;
  } while (FindNextFileA(handle, &entry));
  return GetLastError();
}

bool FindInTree(const std::string& folder, const std::string& name) {
  bool found = false;
  VisitEntries(folder + "\\" + name, [&](const WIN32_FIND_DATAA& entry) {
    found = (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) ? FindInTree(folder + "\\" + entry.cFileName, name)
                                                                : name == entry.cFileName;
    return found;
  });
  return found;
}

}  // namespace

const std::string& GetBasePath() {
  static std::string basePath;
  if (basePath.empty()) {
    basePath = Canonicalize(WithoutRoaming(ReadAppData()) + "\\LocalLow\\Norvo\\webapi\\");
  }
  return basePath;
}

std::string Canonicalize(const std::string& path) {
  static constexpr char kFailed[] = "Failed to canonicalize path";
  const DWORD size = GetFullPathNameA(path.c_str(), 0, nullptr, nullptr);
  if (size == 0) throw std::runtime_error(kFailed);
  std::string full(size, '\0');
  if (GetFullPathNameA(path.c_str(), size, full.data(), nullptr) == 0) throw std::runtime_error(kFailed);
  return full.c_str();  // The size counts the terminator.
}

void CheckPath(const std::string& path) {
  const std::string& basePath = GetBasePath();
  if (!Canonicalize(path).starts_with(basePath)) {
    throw std::runtime_error("Platform operation attempted outside of base path");
  }
}

std::string GetTempFileName() {
  std::array<char, MAX_PATH> path{};
  if (GetTempFileNameA(GetBasePath().c_str(), "NWA", 0, path.data()) == 0) {
    throw std::runtime_error("Unable to create temporary filename");
  }
  return path.data();
}

void CreateDirectories(const std::string& path) {
  CheckPath(path);
  MakeFolder(path, path.ends_with('\\') ? path.size() - 1 : path.size());
}

void DeleteFile(const std::string& path) {
  CheckPath(path);
  if (!DeleteFileA(path.c_str())) throw std::runtime_error("Failed to delete file");
}

bool FileExists(const std::string& folder, const std::string& name) {
  CheckPath(folder);
  return FindInTree(folder, name);
}

bool ListDirectory(const std::string& folder, std::vector<std::string>& names) {
  CheckPath(folder);
  return VisitEntries(folder + "\\*.*", [&](const WIN32_FIND_DATAA& entry) {
           names.emplace_back(entry.cFileName);
           return false;
         }) == ERROR_NO_MORE_FILES;
}

void WriteFile(const std::string& path, const uint8_t* bytes, uint16_t length) {
  CheckPath(path);
  std::ofstream file(SystemPath(path), std::ios::binary | std::ios::trunc);
  if (!file.is_open()) throw CPluginException{KSV::kTokenNotWritable};
  // Flushed here: an error of a full disk must show before the file is closed.
  file.write(reinterpret_cast<const char*>(bytes), length).flush();
  if (!file) throw CPluginException{KSV::kFailed};
}

uint32_t ReadFile(const std::string& path, std::unique_ptr<uint8_t[]>* buffer) {
  CheckPath(path);
  std::ifstream file = OpenForReading(path, std::ios::binary);
  if (!file.is_open()) throw CPluginException{KSV::kNoToken};
  const auto length = static_cast<uint32_t>(file.seekg(0, std::ios::end).tellg());
  *buffer = std::make_unique<uint8_t[]>(length);
  file.seekg(0).read(reinterpret_cast<char*>(buffer->get()), length);
  return length;
}

std::ifstream OpenForReading(const std::string& path, std::ios::openmode mode) {
  std::ifstream file;
  // Linux opens folders too, so they are refused first. A missing path has all bits set, so it is refused here as well.
  if ((GetFileAttributesA(path.c_str()) & FILE_ATTRIBUTE_DIRECTORY) == 0) file.open(SystemPath(path), mode);
  return file;
}

std::string GetLastUpdatePath(const std::string& suffix) {
  return GetBasePath() + "lastUpdate" + suffix;
}

}  // namespace NorvoWebAPI::Platform
