/// Where tests reach into the layer: each call asks whether a test wants it to fail. Nothing is installed in a program
/// that doesn't link faults.h.
#pragma once

#include <iterator>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "platform/win32.h"

#pragma GCC visibility push(default)

namespace platform {

/// The calls that a test can make fail.
inline constexpr std::string_view kCallNames[] = {
    "CreateDirectoryA",   "CreateMutexA",     "DeleteFileA",         "FindFirstFileA",      "FindNextFileA",
    "GetFileAttributesA", "GetFullPathNameA", "GetModuleHandleA",    "GetModuleHandleEx",   "GetProcAddress",
    "GetTempFileNameA",   "IsWow64Process",   "LoadLibraryW",        "MsiGetPropertyA",     "MultiByteToWideChar",
    "PostMessageA",       "RegCreateKeyEx",   "RegDeleteKeyA",       "RegEnumKeyExA",       "RegOpenKeyEx",
    "RegQueryInfoKeyA",   "RegQueryValueEx",  "RegSetValueEx",       "ReleaseMutex",        "ScreenToClient",
    "SetWindowsHookExA",  "SysAllocString",   "WaitForSingleObject", "WideCharToMultiByte", "_dupenv_s",
    "wcstombs_s",
};

/// One of `kCallNames`, by its index. A name that is not listed does not compile.
class CallName {
 public:
  consteval CallName(const char* name) : place(IndexOf(name)) {}
  size_t index() const { return place; }

  static constexpr size_t IndexOf(std::string_view name) {
    for (size_t index = 0; index < std::size(kCallNames); ++index) {
      if (kCallNames[index] == name) return index;
    }
    throw std::invalid_argument("no such call: " + std::string(name));
  }

 private:
  size_t place;
};

/// What faults.h puts in place of the layer's own answers. Called on any thread.
class FaultSource {
 public:
  virtual ~FaultSource() = default;
  /// The error that this call shall fail with now, or `ERROR_SUCCESS`.
  virtual DWORD ErrorOf(CallName call) = 0;
  virtual bool IsWow64() = 0;
  virtual std::optional<std::string> InstallerProperty(const std::string& name) = 0;
};

/// For the rest of the process.
void InstallFaultSource(FaultSource& source);
/// Null for none.
FaultSource* InstalledFaultSource();

/// `ERROR_SUCCESS` unless a test wants this call to fail now; then the error, which becomes the thread's last error
/// too.
DWORD InjectedError(CallName call);

/// While one lives, no test makes an allocation of the calling thread fail: a library in use ends the process then.
class UnfailingMemory {
 public:
  UnfailingMemory();
  UnfailingMemory(const UnfailingMemory&) = delete;
  UnfailingMemory& operator=(const UnfailingMemory&) = delete;
  ~UnfailingMemory();

  /// Whether the calling thread has one.
  static bool IsNeeded();
};

}  // namespace platform

#pragma GCC visibility pop
