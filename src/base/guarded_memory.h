#pragma once

#include <cstddef>

namespace NorvoWebAPI::Platform {

/// Copies `count` bytes into `destination`, whose room is `size`. No bytes to copy always succeeds. A null source or a
/// count above the room clears the destination whole and fails, a null destination fails.
/// Throws `std::runtime_error` on failure.
void memcpy(void* destination, size_t size, const void* source, size_t count);

}  // namespace NorvoWebAPI::Platform
