#include "page/flag_mutex.h"

namespace NorvoWebAPI::KSV {
namespace {

template <typename Work>
bool WithMutex(HANDLE mutex, Work work) {
  if (!TakeMutex(mutex, 0)) return false;
  work();
  ReleaseMutex(mutex);
  return true;
}

}  // namespace

bool CreateFlagMutex(MutexOwner* mutex, uint32_t* flag) {
  if (!mutex || !flag) return false;
  *flag = 0;
  if (!*mutex) *mutex = MutexOwner(CreateMutexA(nullptr, FALSE, nullptr));
  return static_cast<bool>(*mutex);
}

bool TakeMutex(HANDLE mutex, DWORD milliseconds) {
  if (!mutex) return false;
  const DWORD taken = WaitForSingleObject(mutex, milliseconds);
  // An abandoned mutex, whose thread ended, is taken as well.
  return taken == WAIT_OBJECT_0 || taken == WAIT_ABANDONED;
}

bool TrySetFlag(HANDLE mutex, uint32_t* flag) {
  return WithMutex(mutex, [flag] { *flag = 1; });
}

bool TryClearFlag(HANDLE mutex, uint32_t* flag) {
  return WithMutex(mutex, [flag] { *flag = 0; });
}

bool FlagIsClear(HANDLE mutex, uint32_t value) {
  return WithMutex(mutex, [] {}) && value == 0;
}

}  // namespace NorvoWebAPI::KSV
