#include <chrono>
#include <condition_variable>

#include "platform/internal.h"

using platform::Fail;
using platform::InjectedError;

namespace {

struct Mutex {
  std::mutex guard;
  std::condition_variable released;
  DWORD owner = 0;
  unsigned depth = 0;  // How many times the owner has taken it.
};

auto& Mutexes() {
  static platform::NeverDestroyed<platform::HandleTable<Mutex, 0x10000004>> mutexes;
  return *mutexes;
}

}  // namespace

HANDLE CreateMutexA(LPSECURITY_ATTRIBUTES, BOOL initialOwner, LPCSTR name) {
  if (InjectedError("CreateMutexA")) return nullptr;
  if (initialOwner || name) return Fail<HANDLE>(ERROR_CALL_NOT_IMPLEMENTED, nullptr);
  return Mutexes().Add(std::make_shared<Mutex>());
}

DWORD WaitForSingleObject(HANDLE object, DWORD milliseconds) {
  if (InjectedError("WaitForSingleObject")) return WAIT_FAILED;
  const auto mutex = Mutexes().Find(object);
  if (!mutex) return Fail(ERROR_INVALID_HANDLE, WAIT_FAILED);
  const DWORD self = GetCurrentThreadId();
  std::unique_lock lock(mutex->guard);
  const auto isFree = [&] { return mutex->depth == 0 || mutex->owner == self; };
  if (milliseconds == INFINITE) {
    mutex->released.wait(lock, isFree);
  } else if (!isFree() && !mutex->released.wait_for(lock, std::chrono::milliseconds(milliseconds), isFree)) {
    return WAIT_TIMEOUT;
  }
  mutex->owner = self;
  ++mutex->depth;
  return WAIT_OBJECT_0;
}

BOOL ReleaseMutex(HANDLE handle) {
  if (InjectedError("ReleaseMutex")) return FALSE;
  const auto mutex = Mutexes().Find(handle);
  if (!mutex) return Fail(ERROR_INVALID_HANDLE, FALSE);
  const std::lock_guard lock(mutex->guard);
  if (mutex->depth == 0 || mutex->owner != GetCurrentThreadId()) return Fail(ERROR_NOT_OWNER, FALSE);
  if (--mutex->depth == 0) mutex->released.notify_one();
  return TRUE;
}

BOOL CloseHandle(HANDLE object) {
  return Mutexes().Remove(object) ? TRUE : Fail(ERROR_INVALID_HANDLE, FALSE);
}
