#include <unistd.h>

#include <csignal>

#include "tests/support/pipe.h"

namespace support {

Pipe::Pipe() : readEnd(nullptr, &std::fclose), writeEnd(nullptr, &std::fclose) {
  std::signal(SIGPIPE, SIG_IGN);
  int ends[2];
  if (::pipe(ends) != 0) return;
  readEnd.reset(::fdopen(ends[0], "rb"));
  writeEnd.reset(::fdopen(ends[1], "wb"));
}

}  // namespace support
