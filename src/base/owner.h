#pragma once

#include <utility>

namespace NorvoWebAPI {

/// Owns one handle of a C interface and gives it back by `close`. `none` is the value that owns nothing.
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
  /// Gives up what is owned without closing it.
  Handle Release() { return std::exchange(handle, none); }
  /// The place for a C interface to write a handle to. Closes what was owned.
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
