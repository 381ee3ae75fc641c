#include <csignal>
#include <stdexcept>
#include <unistd.h>

#include "bridge/host/native_stream.h"

namespace Bridge {

NativePipes TakePipes() {
  // A browser that has gone is told by the write's failure.
  std::signal(SIGPIPE, SIG_IGN);
  NativePipes pipes{{::fdopen(::dup(STDIN_FILENO), "rb"), &std::fclose}, {::fdopen(::dup(STDOUT_FILENO), "wb"), &std::fclose}};
  if (!pipes.input || !pipes.output || ::dup2(STDERR_FILENO, STDOUT_FILENO) < 0) {
    throw std::runtime_error("Standard input and output can't be taken.");
  }
  return pipes;
}

}  // namespace Bridge
