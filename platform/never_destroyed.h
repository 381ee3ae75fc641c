#pragma once

#include <new>
#include <utility>

namespace platform {

/// A process-wide object whose destructor never runs: threads of the system and of the libraries may use it while the
/// process ends.
template <typename T>
class NeverDestroyed {
 public:
  template <typename... Arguments>
  explicit NeverDestroyed(Arguments&&... arguments) {
    new (storage) T(std::forward<Arguments>(arguments)...);
  }
  NeverDestroyed(const NeverDestroyed&) = delete;
  NeverDestroyed& operator=(const NeverDestroyed&) = delete;

  T& operator*() { return *std::launder(reinterpret_cast<T*>(storage)); }
  T* operator->() { return &**this; }

 private:
  alignas(T) unsigned char storage[sizeof(T)];
};

}  // namespace platform
