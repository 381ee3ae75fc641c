#include <dirent.h>
#include <fcntl.h>
#include <fnmatch.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "platform/internal.h"
#include "platform/system_path.h"

namespace fs = std::filesystem;
using platform::Fail;
using platform::InjectedError;

namespace {

// The layer's error for a system error at a path. A missing name and a missing folder are different errors.
LONG ErrorAt(int systemError, const std::string& systemPath) {
  switch (systemError) {
    case ENOENT: {
      const fs::path folder = fs::path(systemPath).parent_path();
      std::error_code ignored;
      return folder.empty() || fs::is_directory(folder, ignored) ? ERROR_FILE_NOT_FOUND : ERROR_PATH_NOT_FOUND;
    }
    case ENOTDIR:
      return ERROR_PATH_NOT_FOUND;
    case EACCES:
    case EPERM:
    case EISDIR:
      return ERROR_ACCESS_DENIED;
    case EEXIST:
      return ERROR_ALREADY_EXISTS;
    default:
      return ERROR_GEN_FAILURE;
  }
}

bool IsSeparator(char c) {
  return c == '\\' || c == '/';
}

// Works on the text alone. Names keep a blank or a full stop at their end, where it belongs to the file's name here.
std::string FullPath(std::string path) {
  if (!IsSeparator(path.front())) path = fs::current_path().string() + '\\' + path;
  const bool namesFolder = IsSeparator(path.back());
  std::vector<std::string> names;
  for (size_t begin = 0; begin < path.size();) {
    const size_t end = std::min(path.find_first_of("\\/", begin), path.size());
    const std::string name = path.substr(begin, end - begin);
    begin = end + 1;
    if (name.empty() || name == ".") continue;
    if (name != "..") {
      names.push_back(name);
    } else if (!names.empty()) {
      names.pop_back();
    }
  }
  std::string full;
  for (const std::string& name : names) full += '\\' + name;
  if (full.empty() || namesFolder) full += '\\';
  return full;
}

// `*` and `?` are special, and nothing else. Ignores case.
bool MatchesPattern(const std::string& name, const std::string& pattern) {
  std::string escaped;
  for (const char c : pattern) {
    if (c == '[') escaped += '\\';
    escaped += c;
  }
  return fnmatch(escaped.c_str(), name.c_str(), FNM_CASEFOLD) == 0;
}

struct Found {
  std::string name;
  DWORD attributes;
};

// A search lists the folder once: later changes of the folder don't disturb it.
struct Search {
  std::vector<Found> entries;
  size_t next = 0;
};

auto& Searches() {
  static platform::NeverDestroyed<platform::HandleTable<Search, 0x20000004>> searches;
  return *searches;
}

DWORD Attributes(const std::string& folder, const dirent& entry) {
  if (entry.d_type == DT_REG) return FILE_ATTRIBUTE_NORMAL;
  if (entry.d_type == DT_DIR) return FILE_ATTRIBUTE_DIRECTORY;
  // A link, or a file system that gives no type.
  std::error_code ignored;
  return fs::is_directory(fs::path(folder) / entry.d_name, ignored) ? FILE_ATTRIBUTE_DIRECTORY : FILE_ATTRIBUTE_NORMAL;
}

struct CloseListing {
  void operator()(DIR* listing) const { closedir(listing); }
};

LONG ListFolder(const std::string& folder, const std::string& pattern, std::vector<Found>& entries) {
  const std::unique_ptr<DIR, CloseListing> listing(opendir(folder.c_str()));
  if (!listing) return errno == ENOENT ? ERROR_PATH_NOT_FOUND : ErrorAt(errno, folder);
  for (errno = 0; const dirent* const entry = readdir(listing.get()); errno = 0) {
    const std::string name = entry->d_name;
    // A longer name has no room in the caller's record.
    if (name.size() < MAX_PATH && (pattern == "*.*" || MatchesPattern(name, pattern))) {
      entries.push_back({name, Attributes(folder, *entry)});
    }
  }
  if (errno != 0) return ErrorAt(errno, folder);
  std::sort(entries.begin(), entries.end(), [](const Found& a, const Found& b) { return a.name < b.name; });
  return entries.empty() ? ERROR_FILE_NOT_FOUND : ERROR_SUCCESS;
}

// Writes the next entry to `found`. Returns false at the end.
bool TakeEntry(Search& search, WIN32_FIND_DATAA* found) {
  if (search.next == search.entries.size()) return false;
  const Found& entry = search.entries[search.next++];
  *found = {};
  found->dwFileAttributes = entry.attributes;
  std::memcpy(found->cFileName, entry.name.c_str(), entry.name.size() + 1);
  return true;
}

}  // namespace

DWORD GetFullPathNameA(LPCSTR path, DWORD size, LPSTR buffer, LPSTR* filePart) {
  if (InjectedError("GetFullPathNameA")) return 0;
  if (!path || *path == '\0') return Fail(ERROR_INVALID_NAME, DWORD{0});
  if (filePart) return Fail(ERROR_CALL_NOT_IMPLEMENTED, DWORD{0});
  std::string full;
  try {
    full = FullPath(path);
  } catch (const fs::filesystem_error& error) {
    return Fail(ErrorAt(error.code().value(), "."), DWORD{0});
  }
  const auto length = static_cast<DWORD>(full.size());
  if (!buffer || size <= length) return length + 1;
  std::memcpy(buffer, full.c_str(), full.size() + 1);
  return length;
}

UINT GetTempFileNameA(LPCSTR folder, LPCSTR prefix, UINT unique, LPSTR path) {
  if (InjectedError("GetTempFileNameA")) return 0;
  if (unique != 0) return Fail(ERROR_CALL_NOT_IMPLEMENTED, 0u);
  std::string start = folder;
  std::error_code ignored;
  if (!fs::is_directory(SystemPath(start), ignored)) return Fail(ERROR_PATH_NOT_FOUND, 0u);
  if (!IsSeparator(start.back())) start += '\\';
  start.append(prefix, strnlen(prefix, 3));
  constexpr size_t kRest = sizeof("FFFF.tmp");
  if (start.size() + kRest > MAX_PATH) return Fail(ERROR_INVALID_NAME, 0u);
  constexpr unsigned kNumbers = 0xFFFF;
  const unsigned first = std::random_device{}();
  for (unsigned attempt = 0; attempt < kNumbers; ++attempt) {
    const unsigned number = (first + attempt) % kNumbers + 1;
    char rest[kRest];
    std::snprintf(rest, sizeof(rest), "%X.tmp", number);
    const std::string name = start + rest;
    const std::string systemPath = SystemPath(name);
    const int file = open(systemPath.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, 0600);
    if (file >= 0) {
      close(file);
      std::memcpy(path, name.c_str(), name.size() + 1);
      return number;
    }
    if (errno != EEXIST) return Fail(ErrorAt(errno, systemPath), 0u);
  }
  return Fail(ERROR_ALREADY_EXISTS, 0u);
}

BOOL CreateDirectoryA(LPCSTR path, LPSECURITY_ATTRIBUTES) {
  if (InjectedError("CreateDirectoryA")) return FALSE;
  if (!path || *path == '\0') return Fail(ERROR_PATH_NOT_FOUND, FALSE);
  // Folders in a user's profile are private to the user.
  const std::string systemPath = SystemPath(path);
  if (mkdir(systemPath.c_str(), 0700) == 0) return TRUE;
  // The folder above is missing, never the path itself.
  return Fail(errno == ENOENT ? ERROR_PATH_NOT_FOUND : ErrorAt(errno, systemPath), FALSE);
}

BOOL DeleteFileA(LPCSTR path) {
  if (InjectedError("DeleteFileA")) return FALSE;
  if (!path || *path == '\0') return Fail(ERROR_PATH_NOT_FOUND, FALSE);
  const std::string systemPath = SystemPath(path);
  return unlink(systemPath.c_str()) == 0 ? TRUE : Fail(ErrorAt(errno, systemPath), FALSE);
}

DWORD GetFileAttributesA(LPCSTR path) {
  if (InjectedError("GetFileAttributesA")) return INVALID_FILE_ATTRIBUTES;
  if (!path || *path == '\0') return Fail(ERROR_PATH_NOT_FOUND, INVALID_FILE_ATTRIBUTES);
  const std::string systemPath = SystemPath(path);
  struct stat status {};
  if (stat(systemPath.c_str(), &status) != 0) return Fail(ErrorAt(errno, systemPath), INVALID_FILE_ATTRIBUTES);
  if (S_ISDIR(status.st_mode)) return FILE_ATTRIBUTE_DIRECTORY;
  return S_ISREG(status.st_mode) ? FILE_ATTRIBUTE_NORMAL : FILE_ATTRIBUTE_DEVICE;
}

HANDLE FindFirstFileA(LPCSTR pattern, WIN32_FIND_DATAA* found) {
  if (InjectedError("FindFirstFileA")) return INVALID_HANDLE_VALUE;
  if (!pattern || !found) return Fail(ERROR_INVALID_PARAMETER, INVALID_HANDLE_VALUE);
  const std::string systemPattern = SystemPath(pattern);
  const size_t nameAt = systemPattern.rfind('/') + 1;  // 0 without a folder, since npos + 1 is 0.
  const std::string folder = nameAt == 0 ? "." : systemPattern.substr(0, nameAt);
  const auto search = std::make_shared<Search>();
  if (const LONG error = ListFolder(folder, systemPattern.substr(nameAt), search->entries)) {
    return Fail(error, INVALID_HANDLE_VALUE);
  }
  TakeEntry(*search, found);
  return Searches().Add(search);
}

BOOL FindNextFileA(HANDLE handle, WIN32_FIND_DATAA* found) {
  if (InjectedError("FindNextFileA")) return FALSE;
  const auto search = Searches().Find(handle);
  if (!search || !found) return Fail(ERROR_INVALID_HANDLE, FALSE);
  return TakeEntry(*search, found) ? TRUE : Fail(ERROR_NO_MORE_FILES, FALSE);
}

BOOL FindClose(HANDLE search) {
  return Searches().Remove(search) ? TRUE : Fail(ERROR_INVALID_HANDLE, FALSE);
}
