#include <fcntl.h>
#include <io.h>

#include "tests/support/pipe.h"

namespace support {

Pipe::Pipe() : readEnd(nullptr, &std::fclose), writeEnd(nullptr, &std::fclose) {
  int ends[2];
  if (_pipe(ends, 65536, _O_BINARY | _O_NOINHERIT) != 0) return;
  readEnd.reset(_fdopen(ends[0], "rb"));
  writeEnd.reset(_fdopen(ends[1], "wb"));
}

}  // namespace support
