#pragma once

#include "kit/display/display_status.h"
#include "kit/shared/callback_thread.h"
#include "vendor/ksvwys.h"

namespace KsvDisplay {

/// What a callback is given; the library's own words are the ids of session and image.
using EventRecord = DisplayEventRecord;
using EventCallback = DisplayEventEntry;

constexpr uint32_t kImageChanged = 2;
constexpr uint32_t kInputCompleted = 4;
constexpr uint32_t kFrameArrived = 8;
constexpr uint32_t kInputCancelled = 16;

/// A host's callback with the events that it asked for. It ends with its `calls`.
struct EventRegistration {
  uint32_t mask = 0;
  EventCallback callback = nullptr;
  uint32_t context = 0;
  std::shared_ptr<CallbackRegistration> calls;

  /// Queues an event unless the mask excludes it; drops it when memory runs out.
  void Post(uint32_t eventBits, uint32_t sessionId, uint32_t imageId) const noexcept;
};

}  // namespace KsvDisplay
