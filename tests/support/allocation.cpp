// The test program's own allocation: it counts what lives, and fails when a test wants it to.
#include <atomic>
#include <cstdlib>
#include <new>

#include "tests/support/nth_failure.h"

using support::FailsNow;
using support::Source;

namespace {

constinit std::atomic<size_t> liveBlocks;
constinit std::atomic<size_t> liveBytes;

void* Allocate(size_t size) noexcept {
  if (support::failurePlan.source == Source::Allocation && platform::MemoryMayFail() && FailsNow(Source::Allocation)) {
    return nullptr;
  }
  void* const block = std::malloc(size > 0 ? size : 1);
  if (block) {
    liveBlocks.fetch_add(1, std::memory_order_relaxed);
    liveBytes.fetch_add(platform::BlockSize(block), std::memory_order_relaxed);
  }
  return block;
}

void Free(void* block) noexcept {
  if (!block) return;
  liveBlocks.fetch_sub(1, std::memory_order_relaxed);
  liveBytes.fetch_sub(platform::BlockSize(block), std::memory_order_relaxed);
  std::free(block);
}

}  // namespace

support::LiveMemory support::CountLiveMemory() {
  return {liveBlocks, liveBytes};
}

// Those of arrays call these.
void* operator new(size_t size) {
  void* const block = Allocate(size);
  return block ? block : throw std::bad_alloc();
}
void* operator new(size_t size, const std::nothrow_t& /*tag*/) noexcept {
  return Allocate(size);
}
void operator delete(void* block) noexcept {
  Free(block);
}
void operator delete(void* block, size_t /*size*/) noexcept {
  Free(block);
}
