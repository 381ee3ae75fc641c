/// Flags that the hooks and the script methods share, each with a mutex. The mutex is held only to read or write its
/// flag, never during a call of a library or of script.
#pragma once

#include <cstdint>

#include "base/owner.h"
#include "platform/win32.h"

namespace NorvoWebAPI::KSV {

using MutexOwner = Owner<HANDLE, CloseHandle>;

/// Clears the flag, and makes the mutex unless it is there. False for null arguments, and when the system refuses.
bool CreateFlagMutex(MutexOwner* mutex, uint32_t* flag);

/// Waits for a mutex, which the caller then releases. False for a null mutex and after the time-out.
bool TakeMutex(HANDLE mutex, DWORD milliseconds);

/// These three don't wait: for a null mutex and for one that is held they give false and change nothing.
bool TrySetFlag(HANDLE mutex, uint32_t* flag);
bool TryClearFlag(HANDLE mutex, uint32_t* flag);
/// `value` is the flag, read by the caller.
bool FlagIsClear(HANDLE mutex, uint32_t value);

}  // namespace NorvoWebAPI::KSV
