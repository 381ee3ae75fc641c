#include "kit/display/event_thread.h"

#include <chrono>

namespace KsvDisplay {
namespace {

using Clock = std::chrono::system_clock;

constexpr size_t kMaxQueued = 256;
/// A host's callback may wait for the very thread that wants to end its registration; neither must hang for good.
constexpr std::chrono::seconds kReturnLimit{3};

}  // namespace

std::atomic<size_t> EventThread::living = 0;

EventThread::EventThread(uint32_t mask, EventCallback callback, uint32_t context)
    : mask_(mask), callback_(callback), context_(context), thread_([this] { Run(); }) {
  ++living;
}

EventThread::~EventThread() {
  {
    const std::scoped_lock lock(mutex_);
    ++endings_;
  }
  changed_.notify_all();
  thread_.join();
  --living;
}

void EventThread::Post(uint32_t eventBits, uint32_t sessionId, uint32_t imageId) {
  if ((eventBits & mask_) == 0) return;
  const bool complete = (eventBits & kInputCompleted) != 0;
  const std::scoped_lock lock(mutex_);
  if (endings_ > 0 || queue_.size() >= kMaxQueued) return;
  queue_.push_back(
      {eventBits, sessionId, imageId, complete ? static_cast<uint32_t>(Status::kInputComplete) : 0, context_});
  changed_.notify_all();
}

void EventThread::Stop() {
  Require(thread_.get_id() != std::this_thread::get_id(), Status::kCallbackRunning);
  std::unique_lock lock(mutex_);
  ++endings_;
  changed_.notify_all();
  if (changed_.wait_until(lock, Clock::now() + kReturnLimit, [this] { return finished_; })) return;
  --endings_;
  throw DisplayError(Status::kCallbackRunning);
}

void EventThread::Run() {
  std::unique_lock lock(mutex_);
  for (;;) {
    changed_.wait(lock, [this] { return endings_ > 0 || !queue_.empty(); });
    if (endings_ > 0) break;
    EventRecord record = queue_.front();
    queue_.pop_front();
    lock.unlock();
    try {
      callback_(&record);
    } catch (...) {
      // A host whose callback fails has no one to tell; its next event is delivered all the same.
    }
    lock.lock();
  }
  finished_ = true;
  changed_.notify_all();
}

}  // namespace KsvDisplay
