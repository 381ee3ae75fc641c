#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <stdexcept>

#include "bridge/host/process.h"

namespace Bridge {
namespace {

File OpenCopy(int descriptor, const char* mode) {
  const int copy = ::fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  return {copy < 0 ? nullptr : ::fdopen(copy, mode), &std::fclose};
}

}  // namespace

NativePipes TakePipes() {
  // That the browser has gone is told by the write that fails.
  std::signal(SIGPIPE, SIG_IGN);
  NativePipes pipes{OpenCopy(STDIN_FILENO, "rb"), OpenCopy(STDOUT_FILENO, "wb")};
  const File nowhere{std::fopen("/dev/null", "r+b"), &std::fclose};
  const auto replace = [](int by, int descriptor) { return ::dup2(by, descriptor) == descriptor; };
  const bool areReplaced = nowhere && replace(::fileno(nowhere.get()), STDIN_FILENO) &&
                           (replace(STDERR_FILENO, STDOUT_FILENO) || replace(::fileno(nowhere.get()), STDOUT_FILENO));
  if (!pipes.input || !pipes.output || !areReplaced) throw std::runtime_error("Standard input and output are missing.");
  return pipes;
}

void EndProcess(int status) {
  std::_Exit(status);
}

}  // namespace Bridge
