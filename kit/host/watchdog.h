#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace Kit {

/// Ends a process whose page or plug-in never returns to the host, which then can't look at its own clock.
class Watchdog {
 public:
  /// Past the page's own time-out, for the orderly end that the host tries first.
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
