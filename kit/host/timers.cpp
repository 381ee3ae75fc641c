#include "kit/host/timers.h"

#include <algorithm>

namespace Kit {
namespace {

// So that a repeating timer without delay does not starve the window's messages.
constexpr Timers::Milliseconds kLeastRepeat{4};

}  // namespace

uint32_t Timers::Start(Milliseconds delay, bool repeats) {
  if (repeats) delay = std::max(delay, kLeastRepeat);
  timers[++last] = {Clock::now() + delay, delay, repeats};
  return last;
}

std::map<uint32_t, Timers::Timer>::const_iterator Timers::First() const {
  return std::ranges::min_element(timers, {}, [](const auto& entry) { return entry.second.due; });
}

std::optional<uint32_t> Timers::TakeDue(Clock::time_point now) {
  const auto first = First();
  if (first == timers.end() || first->second.due > now) return {};
  const uint32_t number = first->first;
  if (first->second.repeats) {
    timers[number].due = now + first->second.delay;
  } else {
    timers.erase(first);
  }
  return number;
}

Timers::Clock::time_point Timers::Next(Clock::time_point latest) const {
  const auto first = First();
  return first == timers.end() ? latest : std::min(latest, first->second.due);
}

}  // namespace Kit
