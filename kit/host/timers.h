/// The page's timers: when which is due. What they call is the script engine's business.
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

  /// Gives the timer's number, from 1 on.
  uint32_t Start(Milliseconds delay, bool repeats);
  void Stop(uint32_t timer) { timers.erase(timer); }
  /// A timer that is due, the longest-due first; it ends with this, or begins anew.
  std::optional<uint32_t> TakeDue(Clock::time_point now);
  /// When the next one is due; at most `latest`.
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
