#include <cstdio>
#include <system_error>

#include "base/owner.h"
#include "installer/doctor/child.h"
#include "installer/doctor/texts.h"
#include "platform/win32.h"

namespace NorvoWebAPI::KSV::Doctor {
namespace {

using Handle = Owner<HANDLE, CloseHandle>;
using WideText = std::basic_string<WCHAR>;

// Also the pipe's size: a child that writes more blocks until the time limit ends it.
constexpr DWORD kLongestOutput = 65536;

void Check(BOOL done, const char* what) {
  if (!done) throw std::system_error(static_cast<int>(GetLastError()), std::system_category(), what);
}

// The arguments hold no quotes, and none ends in a backslash.
WideText CommandLineOf(const std::vector<std::string>& arguments) {
  WideText line;
  for (const std::string& argument : arguments) line += L"\"" + WideFromUtf8(argument) + L"\" ";
  return line;
}

std::string TellEnd(DWORD status) {
  char text[32];
  // The system ends a process that crashed with the exception's number.
  std::snprintf(text, sizeof text, status >= 0x80000000u ? "exception 0x%08lX" : "exit status %lu", status);
  return text;
}

}  // namespace

ChildEnd RunChild(const std::vector<std::string>& arguments, std::chrono::seconds limit, const std::string& input) {
  SECURITY_ATTRIBUTES inherited{sizeof inherited, nullptr, TRUE};
  Handle reading;
  Handle writing;
  Check(CreatePipe(reading.Put(), writing.Put(), &inherited, kLongestOutput), "no pipe");
  Check(SetHandleInformation(reading.Get(), HANDLE_FLAG_INHERIT, 0), "no pipe");
  Handle inputEnd;
  {
    // What is written fits into the pipe, so nobody has to read it yet.
    Handle filling;
    Check(CreatePipe(inputEnd.Put(), filling.Put(), &inherited, kLongestOutput), "no pipe");
    DWORD written = 0;
    Check(WriteFile(filling.Get(), input.data(), static_cast<DWORD>(input.size()), &written, nullptr), "no input");
  }
  STARTUPINFOW start{};
  start.cb = sizeof start;
  start.dwFlags = STARTF_USESTDHANDLES;
  start.hStdInput = inputEnd.Get();
  start.hStdOutput = writing.Get();
  PROCESS_INFORMATION started{};
  WideText line = CommandLineOf(arguments);
  // It inherits this mode: no dialog waits for somebody who is not there.
  SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
  Check(CreateProcessW(WideFromUtf8(arguments.front()).c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr,
                       nullptr, &start, &started),
        "no start");
  const Handle process(started.hProcess);
  const Handle thread(started.hThread);
  writing.Reset();

  ChildEnd end;
  end.timedOut = WaitForSingleObject(process.Get(), static_cast<DWORD>(limit.count()) * 1000) != WAIT_OBJECT_0;
  if (end.timedOut) {
    TerminateProcess(process.Get(), 1);
    WaitForSingleObject(process.Get(), INFINITE);
  }
  DWORD there = 0;
  if (PeekNamedPipe(reading.Get(), nullptr, 0, nullptr, &there, nullptr) && there > 0) {
    end.output.resize(there);
    if (!ReadFile(reading.Get(), end.output.data(), there, &there, nullptr)) there = 0;
    end.output.resize(there);
  }
  DWORD status = 0;
  GetExitCodeProcess(process.Get(), &status);
  end.how = TellEnd(status);
  return end;
}

void PrepareForCrash() {
  SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX | SEM_NOOPENFILEERRORBOX);
}

std::string LoadError() {
  const DWORD error = GetLastError();
  const char* const reason = error == ERROR_MOD_NOT_FOUND     ? "a library that it needs is missing"
                             : error == ERROR_PROC_NOT_FOUND  ? "a library that it needs lacks an entry point"
                             : error == ERROR_BAD_EXE_FORMAT  ? "it, or a library that it needs, is broken"
                             : error == ERROR_DLL_INIT_FAILED ? "it refuses to start"
                                                              : "the system refuses it";
  return reason + (" (error " + std::to_string(error) + ")");
}

}  // namespace NorvoWebAPI::KSV::Doctor
