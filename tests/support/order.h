#pragma once

#include <mutex>

namespace support {

/// A message through a pipe orders what two threads do, but ThreadSanitizer doesn't see it. So a thread calls this
/// before it sends, and after it has received.
inline void OrderThreads() {
  static std::mutex mutex;
  const std::lock_guard lock(mutex);
}

}  // namespace support
