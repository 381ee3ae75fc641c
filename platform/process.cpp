#include <fcntl.h>
#include <strings.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "platform/desktop.h"
#include "platform/internal.h"
#include "platform/registry_store.h"

using platform::Fail;
using platform::InjectedError;

namespace {

thread_local DWORD lastError = ERROR_SUCCESS;

using DebugListener = std::function<void(const char*)>;

struct DebugListeners {
  std::mutex mutex;
  std::map<int, std::shared_ptr<DebugListener>> byNumber;
  int lastNumber = 0;
};

DebugListeners& Listeners() {
  static platform::NeverDestroyed<DebugListeners> listeners;
  return *listeners;
}

void CallListeners(const char* text) {
  std::unique_lock lock(Listeners().mutex);
  if (Listeners().byNumber.empty()) return;
  const auto called = Listeners().byNumber;
  lock.unlock();
  for (const auto& [number, listener] : called) (*listener)(text);
}

// One write for each text, so that the lines of several threads and processes don't mix.
void WriteDebugText(int file, const char* text) {
  const size_t length = std::strlen(text);
  // Nothing depends on this output, so a failure is ignored.
  [[maybe_unused]] const ssize_t written = write(file, text, length);
}

// Ignores the case of the name, but an exact match wins.
const char* FindVariable(const char* name) {
  if (const char* value = std::getenv(name)) return value;
  const size_t length = std::strlen(name);
  for (char** entry = environ; entry && *entry; ++entry) {
    if (strncasecmp(*entry, name, length) == 0 && (*entry)[length] == '=') return *entry + length + 1;
  }
  return nullptr;
}

}  // namespace

DWORD GetLastError() {
  return lastError;
}
void SetLastError(DWORD error) {
  lastError = error;
}

DWORD GetCurrentThreadId() {
  // Asked several times for each message, and the system call is slow. The product never forks.
  thread_local const auto id = static_cast<DWORD>(syscall(SYS_gettid));
  return id;
}
DWORD GetCurrentProcessId() {
  return static_cast<DWORD>(getpid());
}
HANDLE GetCurrentProcess() {
  return INVALID_HANDLE_VALUE;
}

BOOL IsWow64Process(HANDLE process, BOOL* answer) {
  if (InjectedError("IsWow64Process")) return FALSE;
  if (process != GetCurrentProcess() || !answer) return Fail(ERROR_INVALID_HANDLE, FALSE);
  platform::FaultSource* const faults = platform::InstalledFaultSource();
  *answer = faults && faults->IsWow64() ? TRUE : FALSE;
  return TRUE;
}

void OutputDebugStringA(LPCSTR text) {
  if (!text) return;
  CallListeners(text);
  std::string sink;
  try {
    sink = platform::RegistryStore::DebugOutput();
  } catch (...) {
    return;  // No memory: the text is dropped.
  }
  if (sink.empty()) return;
  if (sink == "stderr") return WriteDebugText(STDERR_FILENO, text);
  const int file = open(sink.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0600);
  if (file < 0) return;
  WriteDebugText(file, text);
  close(file);
}

errno_t _dupenv_s(char** value, size_t* size, const char* name) {
  if (!value || !name) return EINVAL;
  *value = nullptr;
  if (size) *size = 0;
  if (InjectedError("_dupenv_s")) return ENOMEM;
  const char* found = FindVariable(name);
  if (!found) return 0;
  const size_t needed = std::strlen(found) + 1;
  *value = static_cast<char*>(std::malloc(needed));
  if (!*value) return ENOMEM;
  std::memcpy(*value, found, needed);
  if (size) *size = needed;
  return 0;
}

__time64_t _time64(__time64_t* now) {
  const __time64_t seconds = std::time(nullptr);
  if (now) *now = seconds;
  return seconds;
}

namespace platform {

int AddDebugListener(std::function<void(const char*)> listener) {
  DebugListeners& listeners = Listeners();
  const std::lock_guard lock(listeners.mutex);
  listeners.byNumber.emplace(++listeners.lastNumber, std::make_shared<DebugListener>(std::move(listener)));
  return listeners.lastNumber;
}

void RemoveDebugListener(int listener) {
  DebugListeners& listeners = Listeners();
  const std::lock_guard lock(listeners.mutex);
  listeners.byNumber.erase(listener);
}

}  // namespace platform
