#include "kit/display/events.h"

namespace KsvDisplay {

void EventRegistration::Post(uint32_t eventBits, uint32_t sessionId, uint32_t imageId) const noexcept try {
  if ((eventBits & mask) == 0) return;
  const bool complete = (eventBits & kInputCompleted) != 0;
  const uint32_t status = complete ? static_cast<uint32_t>(Status::kInputComplete) : 0;
  calls->Post([to = callback, record = EventRecord{eventBits, {sessionId, imageId}, status, context}]() mutable {
    to(&record);
  });
} catch (...) {
  // Dropped, as when too many wait: what the event tells of has happened.
}

}  // namespace KsvDisplay
