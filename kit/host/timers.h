/// The due times of the page's timers. The script engine has their functions.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>

namespace Kit {

class Timers {
 public:
  using Clock = std::chrono::steady_clock;
  using Milliseconds = std::chrono::milliseconds;

  /// Returns the timer's number, from 1 on.
  uint32_t Start(Milliseconds delay, bool repeats);
  void Stop(uint32_t timer) { timers.erase(timer); }
  /// The timer that has been due longest, if any. Removes it, or restarts it when it repeats.
  std::optional<uint32_t> TakeDue(Clock::time_point now);
  /// The time at which the next one is due, or `latest` if that is earlier.
  [[nodiscard]] Clock::time_point Next(Clock::time_point latest) const;

 private:
  struct Timer {
    Clock::time_point due;
    Milliseconds delay;
    bool repeats;
  };
  [[nodiscard]] std::map<uint32_t, Timer>::const_iterator First() const;

  std::map<uint32_t, Timer> timers;
  uint32_t last = 0;
};

}  // namespace Kit
