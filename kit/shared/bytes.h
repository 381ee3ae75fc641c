#pragma once

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "kit/shared/failure.h"

namespace KsvKit {

/// Overwrites memory with zeros; the compiler does not optimise this away.
void Wipe(void* data, size_t size) noexcept;

/// Wipes memory before it frees it, also when a container grows.
template <class T>
struct WipingAllocator {
  using value_type = T;

  WipingAllocator() = default;
  template <class U>
  WipingAllocator(const WipingAllocator<U>&) noexcept {}

  T* allocate(size_t count) { return std::allocator<T>().allocate(count); }
  void deallocate(T* data, size_t count) noexcept {
    Wipe(data, count * sizeof(T));
    std::allocator<T>().deallocate(data, count);
  }
  template <class U>
  bool operator==(const WipingAllocator<U>&) const noexcept {
    return true;
  }
};

using Bytes = std::vector<uint8_t>;
/// For every key, seed, password and provisioning text.
using SecretBytes = std::vector<uint8_t, WipingAllocator<uint8_t>>;
using ByteView = std::span<const uint8_t>;

inline ByteView AsBytes(std::string_view text) {
  return {reinterpret_cast<const uint8_t*>(text.data()), text.size()};
}
inline std::string_view AsText(ByteView bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

template <class Container>
void Append(Container& out, ByteView bytes) {
  const size_t before = out.size();
  out.resize(before + bytes.size());
  std::copy(bytes.begin(), bytes.end(), out.begin() + static_cast<std::ptrdiff_t>(before));
}

/// Appends an unsigned number, most significant byte first.
template <class Container, std::unsigned_integral Number>
void AppendNumber(Container& out, Number value) {
  for (size_t shift = sizeof(Number) * 8; shift > 0; shift -= 8)
    out.push_back(static_cast<uint8_t>(value >> (shift - 8)));
}

/// Reads untrusted bytes from the front. Throws the status given at the start when fewer bytes are left than are read.
template <class Status>
class ByteReader {
 public:
  ByteReader(ByteView bytes, Status onShortage) : rest_(bytes), onShortage_(onShortage) {}

  ByteView Read(size_t count) {
    Require(count <= rest_.size(), onShortage_);
    const ByteView bytes = rest_.first(count);
    rest_ = rest_.subspan(count);
    return bytes;
  }

  template <std::unsigned_integral Number>
  Number ReadNumber() {
    Number value = 0;
    for (const uint8_t byte : Read(sizeof(Number))) value = static_cast<Number>((uint64_t{value} << 8) | byte);
    return value;
  }

  size_t left() const { return rest_.size(); }

 private:
  ByteView rest_;
  Status onShortage_;
};

}  // namespace KsvKit
