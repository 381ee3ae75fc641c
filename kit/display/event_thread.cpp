#include "kit/display/event_thread.h"

#include <chrono>

namespace KsvDisplay {
namespace {

using Clock = std::chrono::steady_clock;

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
  End();
  thread_.join();
  --living;
}

void EventThread::Post(uint32_t eventBits, uint32_t sessionId, uint32_t imageId) {
  if ((eventBits & mask_) == 0) return;
  const bool complete = (eventBits & kInputCompleted) != 0;
  const std::scoped_lock lock(mutex_);
  if (ended_ || queue_.size() >= kMaxQueued) return;
  queue_.push_back(
      {eventBits, {sessionId, imageId}, complete ? static_cast<uint32_t>(Status::kInputComplete) : 0, context_});
  changed_.notify_all();
}

void EventThread::Hold() {
  Require(thread_.get_id() != std::this_thread::get_id(), Status::kCallbackRunning);
  std::unique_lock lock(mutex_);
  ++holds_;
  if (changed_.wait_until(lock, Clock::now() + kReturnLimit, [this] { return !running_; })) return;
  --holds_;
  throw DisplayError(Status::kCallbackRunning);
}

void EventThread::Resume() noexcept {
  const std::scoped_lock lock(mutex_);
  --holds_;
  changed_.notify_all();
}

void EventThread::End() noexcept {
  const std::scoped_lock lock(mutex_);
  ended_ = true;
  changed_.notify_all();
}

bool EventThread::TryEnd() noexcept {
  const std::scoped_lock lock(mutex_);
  if (running_) return false;
  ended_ = true;
  changed_.notify_all();
  return true;
}

void EventThread::Run() {
  std::unique_lock lock(mutex_);
  for (;;) {
    changed_.wait(lock, [this] { return ended_ || (holds_ == 0 && !queue_.empty()); });
    if (ended_) return;
    EventRecord record = queue_.front();
    queue_.pop_front();
    running_ = true;
    lock.unlock();
    try {
      callback_(&record);
    } catch (...) {
      // A host whose callback fails has no one to tell; its next event is delivered all the same.
    }
    lock.lock();
    running_ = false;
    changed_.notify_all();
  }
}

}  // namespace KsvDisplay
