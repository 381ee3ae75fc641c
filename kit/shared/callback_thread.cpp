#include "kit/shared/callback_thread.h"

#include <algorithm>

namespace KsvKit {
namespace {

constexpr size_t kMaxQueuedCalls = 256;
/// A callback may wait for the very thread that wants to end its registration: this limit resolves the deadlock.
constexpr std::chrono::seconds kReturnLimit{3};

}  // namespace

CallbackThread::~CallbackThread() {
  std::unique_lock lock(mutex_);
  if (worker_ == nullptr) return;
  worker_->stop = true;
  WakeLocked();
  lock.unlock();
  worker_->thread.join();
}

void CallbackThread::Wake() noexcept {
  const std::scoped_lock lock(mutex_);
  WakeLocked();
}

CallbackThread::Wait CallbackThread::AwaitReturn() {
  std::unique_lock lock(mutex_);
  return AwaitWhile(lock, [this] { return running_ != nullptr; });
}

void CallbackThread::StopIfIdle() noexcept {
  std::unique_lock lock(mutex_);
  StopIfIdle(lock);
}

bool CallbackThread::IsOnThread() const {
  return worker_ != nullptr && worker_->thread.get_id() == std::this_thread::get_id();
}

void CallbackThread::WakeLocked() noexcept {
  isWoken_ = true;
  woken_.notify_all();
}

template <class Busy>
CallbackThread::Wait CallbackThread::AwaitWhile(std::unique_lock<std::mutex>& lock, Busy busy) {
  if (IsOnThread()) return busy() ? Wait::kFromWithin : Wait::kDone;
  return returned_.wait_for(lock, kReturnLimit, [&] { return !busy(); }) ? Wait::kDone : Wait::kTimedOut;
}

void CallbackThread::EndLocked(std::unique_lock<std::mutex>& lock, const StatePtr& registration) {
  if (registration->ended) return;
  registration->ended = true;
  --registrations_;
  std::erase_if(queue_, [&](const Event& event) { return event.registration == registration; });
  StopIfIdle(lock);
}

/// Not from within a call, since a thread can't join itself: then the thread stays, idle, until the next request.
void CallbackThread::StopIfIdle(std::unique_lock<std::mutex>& lock) {
  if (registrations_ > 0 || running_ != nullptr || worker_ == nullptr) return;
  const std::unique_ptr<Worker> last = std::move(worker_);
  last->stop = true;
  WakeLocked();
  lock.unlock();
  last->thread.join();
  lock.lock();
  exists_ = worker_ != nullptr;
}

/// Runs the oldest call that is not held. False when there is none.
bool CallbackThread::DeliverNext(std::unique_lock<std::mutex>& lock) {
  const auto next = std::ranges::find_if(queue_, [](const Event& event) { return event.registration->holds == 0; });
  if (next == queue_.end()) return false;
  Event event = std::move(*next);
  queue_.erase(next);
  --event.registration->queuedCalls;
  running_ = event.registration;
  lock.unlock();
  try {
    event.call();
  } catch (...) {
    // The host's exception has no caller here to reach; the next event is delivered all the same.
  }
  event.call = nullptr;
  lock.lock();
  running_ = nullptr;
  returned_.notify_all();
  return true;
}

void CallbackThread::Run(const Worker& self) {
  std::unique_lock lock(mutex_);
  while (!self.stop) {
    isWoken_ = false;
    std::optional<Clock::time_point> next;
    if (timer_) {
      lock.unlock();
      next = timer_();
      lock.lock();
    }
    if (self.stop || DeliverNext(lock)) continue;
    const auto isWoken = [&] { return self.stop || isWoken_; };
    if (next) {
      woken_.wait_until(lock, *next, isWoken);
    } else {
      woken_.wait(lock, isWoken);
    }
  }
}

CallbackRegistration::CallbackRegistration(CallbackThread& thread)
    : thread_(thread), state_(std::make_shared<CallbackThread::State>()) {
  const std::scoped_lock lock(thread_.mutex_);
  if (thread_.worker_ == nullptr) {
    auto worker = std::make_unique<CallbackThread::Worker>();
    worker->thread = std::thread([&thread, self = worker.get()] { thread.Run(*self); });
    thread_.worker_ = std::move(worker);
    thread_.exists_ = true;
  }
  ++thread_.registrations_;
}

void CallbackRegistration::Post(CallbackThread::Call call) {
  const std::scoped_lock lock(thread_.mutex_);
  if (state_->ended || state_->queuedCalls == kMaxQueuedCalls) return;
  thread_.queue_.push_back({state_, std::move(call)});
  ++state_->queuedCalls;
  thread_.WakeLocked();
}

CallbackThread::Wait CallbackRegistration::Hold() {
  std::unique_lock lock(thread_.mutex_);
  ++state_->holds;
  const auto wait = thread_.AwaitWhile(lock, [this] { return thread_.running_ == state_; });
  if (wait == CallbackThread::Wait::kTimedOut) {
    --state_->holds;
    thread_.WakeLocked();
  }
  return wait;
}

void CallbackRegistration::Resume() noexcept {
  const std::scoped_lock lock(thread_.mutex_);
  --state_->holds;
  thread_.WakeLocked();
}

void CallbackRegistration::End() noexcept {
  std::unique_lock lock(thread_.mutex_);
  thread_.EndLocked(lock, state_);
}

bool CallbackRegistration::TryEnd() noexcept {
  std::unique_lock lock(thread_.mutex_);
  if (thread_.running_ == state_) return false;
  thread_.EndLocked(lock, state_);
  return true;
}

}  // namespace KsvKit
