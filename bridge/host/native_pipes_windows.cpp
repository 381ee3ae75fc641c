#include <fcntl.h>
#include <io.h>
#include <stdexcept>

#include "bridge/host/native_stream.h"

namespace Bridge {
namespace {

std::FILE* OpenCopy(std::FILE* of, const char* mode) {
  const int copy = _dup(_fileno(of));
  if (copy < 0 || _setmode(copy, _O_BINARY) < 0) return nullptr;
  return _fdopen(copy, mode);
}

}  // namespace

NativePipes TakePipes() {
  NativePipes pipes{{OpenCopy(stdin, "rb"), &std::fclose}, {OpenCopy(stdout, "wb"), &std::fclose}};
  if (!pipes.input || !pipes.output || _dup2(_fileno(stderr), _fileno(stdout)) < 0) {
    throw std::runtime_error("Standard input and output can't be taken.");
  }
  return pipes;
}

}  // namespace Bridge
