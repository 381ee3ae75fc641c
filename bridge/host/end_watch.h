#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace Bridge {

/// Ends the process when the module or a library does not end in time after the browser has gone.
class EndWatch {
 public:
  explicit EndWatch(std::chrono::milliseconds patience);
  ~EndWatch();
  EndWatch(const EndWatch&) = delete;
  EndWatch& operator=(const EndWatch&) = delete;

  /// The time runs from the first call. From any thread.
  void Start() { Set(isEnding); }
  /// All has ended in order.
  void Stop() { Set(hasEnded); }

 private:
  void Set(bool& flag);

  std::mutex mutex;
  std::condition_variable changed;
  bool isEnding = false;
  bool hasEnded = false;
  std::thread watcher;
};

}  // namespace Bridge
