#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <cstdlib>
#include <stdexcept>

#include "bridge/host/process.h"
#include "platform/win32.h"

namespace Bridge {
namespace {

HANDLE HandleOf(int descriptor) {
  return reinterpret_cast<HANDLE>(_get_osfhandle(descriptor));
}

File OpenCopy(int descriptor, const char* mode) {
  const int copy = _dup(descriptor);
  if (copy < 0 || _setmode(copy, _O_BINARY) < 0) return {nullptr, &std::fclose};
  SetHandleInformation(HandleOf(copy), HANDLE_FLAG_INHERIT, 0);
  return {_fdopen(copy, mode), &std::fclose};
}

// The run time's stream and the system's own handle: libraries use the one or the other.
bool Replace(int by, int descriptor, DWORD standardHandle) {
  return by >= 0 && _dup2(by, descriptor) == 0 && SetStdHandle(standardHandle, HandleOf(descriptor));
}

}  // namespace

NativePipes TakePipes() {
  const int input = _fileno(stdin);
  const int output = _fileno(stdout);
  NativePipes pipes{OpenCopy(input, "rb"), OpenCopy(output, "wb")};
  const File nowhere{std::fopen("NUL", "r+b"), &std::fclose};
  // A browser without a console gives no standard error.
  const bool areReplaced = nowhere && Replace(_fileno(nowhere.get()), input, STD_INPUT_HANDLE) &&
                           (Replace(_fileno(stderr), output, STD_OUTPUT_HANDLE) ||
                            Replace(_fileno(nowhere.get()), output, STD_OUTPUT_HANDLE));
  if (!pipes.input || !pipes.output || !areReplaced) throw std::runtime_error("Standard input and output are missing.");
  return pipes;
}

void EndProcess(int status) {
  std::fflush(stderr);  // Buffered here where it is no console.
  TerminateProcess(GetCurrentProcess(), static_cast<UINT>(status));
  std::abort();  // Never reached; the system's declaration does not say so.
}

}  // namespace Bridge
