#include <fcntl.h>
#include <strings.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "platform/internal.h"
#include "platform/testing_backend.h"

using platform::Fail;
using platform::InjectedError;

namespace {

thread_local DWORD lastError = ERROR_SUCCESS;

std::atomic<bool> wow64Answer{false};

struct DebugListeners {
  std::mutex mutex;
  std::map<int, std::shared_ptr<std::function<void(const char*)>>> byNumber;
  int lastNumber = 0;
};

void TellListeners(const char* text) {
  auto& listeners = platform::Immortal<DebugListeners>();
  std::unique_lock lock(listeners.mutex);
  if (listeners.byNumber.empty()) return;
  const auto told = listeners.byNumber;
  lock.unlock();
  for (const auto& [number, listener] : told) (*listener)(text);
}

// One write a text, so that lines of several threads and processes don't run into each other.
void WriteDebugText(int file, const char* text) {
  const size_t length = std::strlen(text);
  // Nothing depends on this output: a text that can't be written is lost.
  [[maybe_unused]] const ssize_t written = write(file, text, length);
}

// Variables are found by any spelling of the name; the exact one wins.
const char* FindVariable(const char* name) {
  if (const char* value = std::getenv(name)) return value;
  const size_t length = std::strlen(name);
  for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
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
  // Asked several times a message, and the system is slow to answer. No thread goes on here as a forked child.
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
  if (process != GetCurrentProcess() || answer == nullptr) return Fail(ERROR_INVALID_HANDLE, FALSE);
  *answer = wow64Answer ? TRUE : FALSE;
  return TRUE;
}

void OutputDebugStringA(LPCSTR text) {
  if (text == nullptr) return;
  TellListeners(text);
  const char* sink = std::getenv("KSV_DEBUG_OUTPUT");
  if (sink == nullptr || *sink == '\0') return;
  if (std::strcmp(sink, "stderr") == 0) return WriteDebugText(STDERR_FILENO, text);
  const int file = open(sink, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0600);
  if (file < 0) return;
  WriteDebugText(file, text);
  close(file);
}

errno_t _dupenv_s(char** value, size_t* size, const char* name) {
  if (value == nullptr || name == nullptr) return EINVAL;
  *value = nullptr;
  if (size != nullptr) *size = 0;
  if (InjectedError("_dupenv_s")) return ENOMEM;
  const char* found = FindVariable(name);
  if (found == nullptr) return 0;
  const size_t needed = std::strlen(found) + 1;
  *value = static_cast<char*>(std::malloc(needed));
  if (*value == nullptr) return ENOMEM;
  std::memcpy(*value, found, needed);
  if (size != nullptr) *size = needed;
  return 0;
}

__time64_t _time64(__time64_t* now) {
  const __time64_t seconds = std::time(nullptr);
  if (now != nullptr) *now = seconds;
  return seconds;
}

namespace platform {

int AddDebugListener(std::function<void(const char*)> listener) {
  auto& listeners = Immortal<DebugListeners>();
  const std::lock_guard lock(listeners.mutex);
  listeners.byNumber.emplace(++listeners.lastNumber,
                             std::make_shared<std::function<void(const char*)>>(std::move(listener)));
  return listeners.lastNumber;
}

void RemoveDebugListener(int listener) {
  auto& listeners = Immortal<DebugListeners>();
  const std::lock_guard lock(listeners.mutex);
  listeners.byNumber.erase(listener);
}

void SetWow64Answer(bool answer) {
  wow64Answer = answer;
}

}  // namespace platform
