/// What the layer's own files share. Callers of the layer include win32.h and nothing else.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>

#include "platform/win32.h"

#pragma GCC visibility push(default)

namespace platform {

/// An object that no destructor ever takes away: a library's thread may still be in a call of the layer while the
/// program's statics go. What it holds stays reachable, so leak checkers are content.
template <class T>
T& Immortal() {
  alignas(T) static unsigned char storage[sizeof(T)];
  static T* object = new (storage) T;
  return *object;
}

/// Objects behind handles of one kind. A handle is a number that is never used again, so a stale one is noticed; an
/// object in use by another thread outlives the removal of its handle. Thread-safe.
template <class Object, uintptr_t kFirstHandle>
class HandleTable {
 public:
  void* Add(std::shared_ptr<Object> object) {
    const std::lock_guard lock(mutex_);
    const uintptr_t handle = next_;
    objects_.emplace(handle, std::move(object));
    next_ += 4;
    return reinterpret_cast<void*>(handle);
  }

  std::shared_ptr<Object> Find(const void* handle) const {
    const std::lock_guard lock(mutex_);
    const auto found = objects_.find(reinterpret_cast<uintptr_t>(handle));
    return found == objects_.end() ? nullptr : found->second;
  }

  bool Remove(const void* handle) {
    const std::lock_guard lock(mutex_);
    return objects_.erase(reinterpret_cast<uintptr_t>(handle)) != 0;
  }

 private:
  mutable std::mutex mutex_;
  std::map<uintptr_t, std::shared_ptr<Object>> objects_;
  uintptr_t next_ = kFirstHandle;
};

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

/// One of `kCallNames`, by its place there. A name that is not listed does not compile.
class CallName {
 public:
  consteval CallName(const char* name) : index_(IndexOf(name)) {}
  size_t index() const { return index_; }

  static constexpr size_t IndexOf(std::string_view name) {
    for (size_t index = 0; index < std::size(kCallNames); ++index) {
      if (kCallNames[index] == name) return index;
    }
    throw std::invalid_argument("no such call: " + std::string(name));
  }

 private:
  size_t index_;
};

/// While one lives, no test makes the calling thread's memory fail: a library in use ends the process then.
class UnfailingMemory {
 public:
  UnfailingMemory();
  UnfailingMemory(const UnfailingMemory&) = delete;
  UnfailingMemory& operator=(const UnfailingMemory&) = delete;
  ~UnfailingMemory();
};

/// 0 unless a test has asked this call to fail now; then the error, which is the calling thread's last error too.
DWORD InjectedError(CallName call);

/// The ANSI code page of this system is UTF-8. What is not valid becomes U+FFFD, and `valid`, if given, says so.
std::u16string Widen(std::string_view narrow);
std::string Narrow(std::u16string_view wide, bool* valid = nullptr);

/// Folds ASCII letters only: enough for the names in use, and no other name is ever taken for an equal one.
bool EqualIgnoringCase(std::string_view left, std::string_view right);

/// Sets the last error and gives `result`, the call's way of saying that it failed.
template <class Result>
Result Fail(LONG error, Result result) {
  SetLastError(static_cast<DWORD>(error));
  return result;
}

/// A window of the calling thread whose client area begins at `clientOrigin` on the screen.
HWND CreateLayerWindow(WNDPROC procedure, POINT clientOrigin);
/// A mouse message as the user's hand makes one: unlike a posted one, it passes the WH_MOUSE hooks when taken.
void QueueMouseInput(HWND window, UINT message, POINT client, WPARAM keys);

}  // namespace platform

#pragma GCC visibility pop
