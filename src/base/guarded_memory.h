#pragma once

#include <cstddef>

namespace NorvoWebAPI::Platform {

/// Copies `count` bytes into `destination`, whose capacity is `size`. A count of 0 always succeeds. A null source or a
/// count above the capacity fails and fills the whole destination with zeros; a null destination fails.
/// Throws `std::runtime_error` on failure.
void memcpy(void* destination, size_t size, const void* source, size_t count);

}  // namespace NorvoWebAPI::Platform
