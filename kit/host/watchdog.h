#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace Kit {

/// Ends the process when the page or the plug-in never returns to the host, which then can't check its time-out.
class Watchdog {
 public:
  /// Ends the process three seconds after `timeout`, so that the host can end in order first.
  explicit Watchdog(std::chrono::seconds timeout);
  ~Watchdog();
  Watchdog(const Watchdog&) = delete;
  Watchdog& operator=(const Watchdog&) = delete;

 private:
  std::mutex mutex;
  std::condition_variable ended;
  bool done = false;
  std::thread watcher;
};

}  // namespace Kit
