#pragma once

#include <atomic>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>

#include "kit/display/display_status.h"
#include "kit/shared/system.h"
#include "vendor/ksvwys.h"

namespace KsvDisplay {

/// What a callback is given; the library's own words are the ids of session and image.
using EventRecord = DisplayEventRecord;
using EventCallback = DisplayEventEntry;

constexpr uint32_t kImageChanged = 2;
constexpr uint32_t kInputCompleted = 4;
constexpr uint32_t kFrameArrived = 8;

/// One registration, with the thread that calls its callback. No lock is held during a call. All members may be called
/// on any thread.
class EventThread {
 public:
  EventThread(uint32_t mask, EventCallback callback, uint32_t context);
  /// At once while no callback runs; else when that has returned.
  ~EventThread();
  EventThread(const EventThread&) = delete;
  EventThread& operator=(const EventThread&) = delete;

  /// Queues an event, unless the mask or a full queue is against it.
  void Post(uint32_t eventBits, uint32_t sessionId, uint32_t imageId);

  /// When it returns, no callback is running, and none will before `Resume`; events queue up meanwhile. Throws
  /// kCallbackRunning, with all as it was, when called from within the callback, or when that does not return in time.
  void Hold();
  void Resume() noexcept;
  /// No callback will run any more.
  void End() noexcept;
  /// `End`, unless a callback is running. Waits for nothing.
  bool TryEnd() noexcept;

  /// How many there are in the process. Takes no lock: asked at the end of a process.
  static size_t Living() noexcept { return living; }

 private:
  void Run();

  static std::atomic<size_t> living;

  const uint32_t mask_;
  const EventCallback callback_;
  const uint32_t context_;
  const System::ModulePin pin_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<EventRecord> queue_;
  /// How many hold it; more than none stops delivery.
  int holds_ = 0;
  bool running_ = false;
  bool ended_ = false;
  std::thread thread_;
};

/// Holds a registration for as long as it lives.
class EventHold {
 public:
  /// As `EventThread::Hold`.
  explicit EventHold(std::shared_ptr<EventThread> events) : events_(std::move(events)) { events_->Hold(); }
  ~EventHold() {
    if (events_ != nullptr) events_->Resume();
  }
  EventHold(EventHold&&) noexcept = default;
  EventHold& operator=(EventHold&&) = delete;

  bool IsOf(const std::shared_ptr<EventThread>& events) const noexcept { return events_ == events; }

 private:
  std::shared_ptr<EventThread> events_;
};

}  // namespace KsvDisplay
