#pragma once

#include "bridge/host/native_stream.h"

namespace support {

/// A pipe of the system's: what is written to the one end is read from the other. Bytes pass unchanged.
struct Pipe {
  Pipe();

  Bridge::File readEnd;
  Bridge::File writeEnd;
};

}  // namespace support
