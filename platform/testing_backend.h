/// The part of testing.h that each system does its own way.
#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "platform/win32.h"

#ifndef _WIN32
#pragma GCC visibility push(default)
#endif

namespace platform {

HWND MakeTestWindow(WNDPROC procedure, POINT clientOrigin, int width, int height);
/// `message` is `WM_LBUTTONDOWN` or `WM_LBUTTONUP`.
void MakeMouseInput(HWND window, UINT message, POINT client);
/// What a window's procedure does with a message of no interest.
LRESULT DefaultProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);

/// Gives true once the calling thread has a message, false after the time-out.
bool WaitForQueuedMessage(DWORD milliseconds);

/// Sees every text of the debug output, on the thread that writes it. Gives a number for the removal.
int AddDebugListener(std::function<void(const char*)> listener);
void RemoveDebugListener(int listener);

/// A null value takes the variable away.
void SetVariable(const char* name, const char* value);

/// Makes the `nth` following call fail, until the plan is removed. Gives the plan's number.
int AddFailure(std::string_view call, DWORD error, int nth);
bool FailureFired(int plan);
void RemoveFailure(int plan);
void SetWow64Answer(bool answer);
void SetInstallerProperty(const std::string& name, const char* value);

}  // namespace platform

#ifndef _WIN32
#pragma GCC visibility pop
#endif
