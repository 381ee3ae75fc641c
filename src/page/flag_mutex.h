/// Flags that the hooks and the script methods share. A mutex guards the flag alone: it is never held while
/// anybody is called, and had at once or not at all, but before a session is closed.
#pragma once

#include <cstdint>

#include "base/owner.h"
#include "platform/win32.h"

namespace NorvoWebAPI::KSV {

using MutexOwner = Owner<HANDLE, CloseHandle>;

/// Clears the flag, and makes the mutex unless it is there. False for null arguments, and when the system refuses.
bool CreateFlagMutex(MutexOwner* mutex, uint32_t* flag);

/// Waits for a mutex; the caller releases it. False without one, and when the time is over.
bool TakeMutex(HANDLE mutex, DWORD milliseconds);

/// These three are false, and change nothing, without a mutex or when somebody has it.
bool TrySetFlag(HANDLE mutex, uint32_t* flag);
bool TryClearFlag(HANDLE mutex, uint32_t* flag);
/// `value` is the flag as the caller has read it.
bool FlagIsClear(HANDLE mutex, uint32_t value);

}  // namespace NorvoWebAPI::KSV
