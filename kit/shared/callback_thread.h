#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

#include "kit/shared/system.h"

namespace KsvKit {

/// Runs the callbacks of a library's host, one after the other, on a thread that exists while anything is registered
/// (`CallbackRegistration`) and keeps the library loaded.
///
/// No lock is held during a call, so a callback may call anything, this class included. All members may be called on
/// any thread.
class CallbackThread {
 public:
  /// The wall clock, which may be set back.
  using Clock = std::chrono::system_clock;
  using Call = std::function<void()>;
  /// Gives the time at which it wants to run again, if at all. Must not throw.
  using Timer = std::function<std::optional<Clock::time_point>()>;

  enum class Wait { kDone, kFromWithin, kTimedOut };

  /// `timer` runs on the thread before each call and on each wake-up. A lock that it takes must not be held by who
  /// ends or holds a registration, stops the thread or waits for a call.
  explicit CallbackThread(Timer timer = nullptr) : timer_(std::move(timer)) {}
  /// Waits for a call that is running.
  ~CallbackThread();
  CallbackThread(const CallbackThread&) = delete;
  CallbackThread& operator=(const CallbackThread&) = delete;

  /// Runs the timer.
  void Wake() noexcept;
  /// Waits until no call is running: at most three seconds, and not at all within a call.
  Wait AwaitReturn();
  /// Stops the thread if nothing is registered and no call is running.
  void StopIfIdle() noexcept;
  /// Whether the thread exists. Takes no lock, so that it can be asked while a process ends, when the thread may have
  /// been ended with the lock held.
  bool IsRunning() const noexcept { return exists_; }

 private:
  friend class CallbackRegistration;

  struct State {
    int holds = 0;
    size_t queuedCalls = 0;
    bool ended = false;
  };
  using StatePtr = std::shared_ptr<State>;
  struct Event {
    StatePtr registration;
    Call call;
  };
  struct Worker {
    System::ModulePin pin;
    bool stop = false;
    std::thread thread;
  };

  void Run(const Worker& self);
  bool DeliverNext(std::unique_lock<std::mutex>& lock);
  bool IsOnThread() const;
  void WakeLocked() noexcept;
  template <class Busy>
  Wait AwaitWhile(std::unique_lock<std::mutex>& lock, Busy busy);
  void EndLocked(std::unique_lock<std::mutex>& lock, const StatePtr& registration);
  void StopIfIdle(std::unique_lock<std::mutex>& lock);

  const Timer timer_;
  std::mutex mutex_;
  std::condition_variable woken_;
  std::condition_variable returned_;
  bool isWoken_ = false;
  std::deque<Event> queue_;
  size_t registrations_ = 0;
  /// Whose call is running; null for none.
  StatePtr running_;
  std::unique_ptr<Worker> worker_;
  std::atomic<bool> exists_ = false;
};

/// One callback of the host, registered from construction to `End`. The thread must outlive it. All members may be
/// called on any thread.
class CallbackRegistration {
 public:
  explicit CallbackRegistration(CallbackThread& thread);
  ~CallbackRegistration() { End(); }
  CallbackRegistration(const CallbackRegistration&) = delete;
  CallbackRegistration& operator=(const CallbackRegistration&) = delete;

  /// Queues a call, unless the registration has ended or 256 of its calls are queued.
  void Post(CallbackThread::Call call);

  /// Stops delivery until `Resume`; calls queue up meanwhile. kDone: none is running. kFromWithin: the caller is within
  /// one. kTimedOut: one has not returned within three seconds, and delivery goes on.
  CallbackThread::Wait Hold();
  void Resume() noexcept;

  /// Drops what is queued; no call will begin. Waits for none.
  void End() noexcept;
  /// `End`, unless a call is running.
  bool TryEnd() noexcept;

 private:
  CallbackThread& thread_;
  const CallbackThread::StatePtr state_;
};

/// Holds a registration for as long as it lives, unless `wait` is kTimedOut.
class CallbackHold {
 public:
  explicit CallbackHold(std::shared_ptr<CallbackRegistration> registration)
      : registration_(std::move(registration)), wait_(registration_->Hold()) {}
  ~CallbackHold() {
    if (registration_ != nullptr && wait_ != CallbackThread::Wait::kTimedOut) registration_->Resume();
  }
  CallbackHold(CallbackHold&&) noexcept = default;
  CallbackHold& operator=(CallbackHold&&) = delete;

  CallbackThread::Wait wait() const noexcept { return wait_; }
  bool IsOf(const std::shared_ptr<CallbackRegistration>& registration) const noexcept {
    return registration_ == registration;
  }

 private:
  std::shared_ptr<CallbackRegistration> registration_;
  CallbackThread::Wait wait_;
};

}  // namespace KsvKit
