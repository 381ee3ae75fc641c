#pragma once

#include <utility>

namespace NorvoWebAPI {

/// Owns one handle of a C interface and closes it by `close`. `none` is the value of an empty owner.
template <typename Handle, auto close, Handle none = Handle{}>
class Owner {
 public:
  Owner() = default;
  explicit Owner(Handle owned) : handle(owned) {}
  Owner(Owner&& other) noexcept : handle(std::exchange(other.handle, none)) {}
  Owner& operator=(Owner&& other) noexcept {
    if (this != &other) {
      Reset();
      handle = std::exchange(other.handle, none);
    }
    return *this;
  }
  Owner(const Owner&) = delete;
  Owner& operator=(const Owner&) = delete;
  ~Owner() { Reset(); }

  [[nodiscard]] Handle Get() const { return handle; }
  explicit operator bool() const { return handle != none; }
  /// Returns the handle without closing it; the caller owns it then.
  Handle Release() { return std::exchange(handle, none); }
  /// Where a C interface can write a new handle. Closes the old one first.
  [[nodiscard]] Handle* Put() {
    Reset();
    return &handle;
  }

  /// Closes what is owned.
  void Reset() {
    if (handle != none) close(std::exchange(handle, none));
  }

 private:
  Handle handle = none;
};

}  // namespace NorvoWebAPI
