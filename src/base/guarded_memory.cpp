#include "base/guarded_memory.h"

#include <cstring>
#include <stdexcept>

namespace NorvoWebAPI::Platform {

void memcpy(void* destination, size_t size, const void* source, size_t count) {
  if (count == 0) return;
  if (destination && source && count <= size) {
    std::memcpy(destination, source, count);
    return;
  }
  if (destination) std::memset(destination, 0, size);
  throw std::runtime_error("Platform::memcpy failed");
}

}  // namespace NorvoWebAPI::Platform
