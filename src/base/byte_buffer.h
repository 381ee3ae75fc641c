#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>

namespace NorvoWebAPI {

/// An owned buffer. Its bytes are not initialised.
struct ByteBuffer {
  std::unique_ptr<uint8_t[]> bytes;  ///< Null for a buffer that was never allocated.
  size_t size = 0;

  ByteBuffer() = default;
  /// Throws `std::bad_alloc`, for a negative size too.
  static ByteBuffer Allocate(int32_t count) {
    if (count < 0) throw std::bad_alloc();
    ByteBuffer buffer;
    buffer.bytes.reset(new uint8_t[static_cast<size_t>(count)]);
    buffer.size = static_cast<size_t>(count);
    return buffer;
  }
};

}  // namespace NorvoWebAPI
