/// What the layer's own files share. Callers of the layer include win32.h and nothing else.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>

#include "platform/fault_source.h"
#include "platform/never_destroyed.h"
#include "platform/win32.h"

#pragma GCC visibility push(default)

namespace platform {

/// The objects behind handles of one kind. A handle is a number that is never used again, so a dangling one is noticed;
/// an object in use by another thread outlives the removal of its handle. Thread-safe.
template <class Object, uintptr_t kFirstHandle>
class HandleTable {
 public:
  void* Add(std::shared_ptr<Object> object) {
    const std::lock_guard lock(mutex);
    const uintptr_t handle = next;
    objects.emplace(handle, std::move(object));
    next += 4;
    return reinterpret_cast<void*>(handle);
  }

  std::shared_ptr<Object> Find(const void* handle) const {
    const std::lock_guard lock(mutex);
    const auto found = objects.find(reinterpret_cast<uintptr_t>(handle));
    return found == objects.end() ? nullptr : found->second;
  }

  bool Remove(const void* handle) {
    const std::lock_guard lock(mutex);
    return objects.erase(reinterpret_cast<uintptr_t>(handle)) != 0;
  }

 private:
  mutable std::mutex mutex;
  std::map<uintptr_t, std::shared_ptr<Object>> objects;
  uintptr_t next = kFirstHandle;
};

/// Conversion from and to the ANSI code page, which is UTF-8 here. Invalid text becomes U+FFFD, and `valid`, if given,
/// becomes false.
std::u16string Widen(std::string_view narrow);
std::string Narrow(std::u16string_view wide, bool* valid = nullptr);

/// Folds ASCII letters only, which is enough for the names in use.
bool EqualIgnoringCase(std::string_view left, std::string_view right);

/// Sets the last error and returns `result`, the call's value for failure.
template <class Result>
Result Fail(LONG error, Result result) {
  SetLastError(static_cast<DWORD>(error));
  return result;
}

}  // namespace platform

#pragma GCC visibility pop
