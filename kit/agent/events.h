#pragma once

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

#include "kit/agent/agent_error.h"
#include "kit/agent/owner.h"
#include "kit/shared/system.h"

namespace KsvAgent {

/// Where an event comes from: the `source` byte of both callbacks.
enum class EventSource : uint8_t { kClock = 1, kProvisioning = 2, kApplets = 3 };

/// The first second after `now` at which a countdown over `period` has something to say: each of the last five seconds,
/// and the change itself.
int64_t NextCountdownSecond(int64_t now, uint32_t period);

/// Delivers events to whoever is registered, from one thread that lives from the first registration until nobody is
/// left.
///
/// No lock is held while a callback runs, so a callback may call anything, this class included. When `Unsubscribe` or
/// `Close` returns, no callback of what it ended is running or will run, unless the call was made from within a
/// callback; a callback that does not return in time makes them throw kCallbackRunning with the registration as it was.
/// All members may be called on any thread.
class EventHub {
 public:
  using Sink = std::function<void(ByteView payload, uint8_t source)>;

  EventHub() = default;
  ~EventHub();
  EventHub(const EventHub&) = delete;
  EventHub& operator=(const EventHub&) = delete;

  /// Throws kAlreadyRegistered. The countdown goes by 30 seconds until `SetPeriod`.
  void Subscribe(const Owner& owner, Sink sink);
  /// Throws kNotRegistered and kCallbackRunning.
  void Unsubscribe(const Owner& owner);
  /// Ends all registrations. Throws kCallbackRunning.
  void Close();

  /// Queues an event; without effect when the owner is not registered. A full queue drops it.
  void Post(const Owner& owner, EventSource source, std::string payload);
  void PostToAll(EventSource source, const std::string& payload);
  /// Lets the owner's countdown go by another period from now on.
  void SetPeriod(const Owner& owner, uint32_t period);

  /// Whether the thread exists. Takes no lock: asked at the end of a process, where a lock may never be given back.
  bool HasWorker() const noexcept { return hasWorker_; }

 private:
  struct Subscription {
    Owner owner;
    Sink sink;
    uint32_t period = 30;
    int64_t due = 0;
    /// About to be ended: nothing more is delivered.
    bool closing = false;
  };
  using SubscriptionPtr = std::shared_ptr<Subscription>;

  struct Event {
    SubscriptionPtr target;
    EventSource source;
    std::string payload;
  };

  struct Worker {
    System::ModulePin pin;
    bool stop = false;
    std::thread thread;
  };

  void Run(const Worker& self);
  int64_t QueueDueCountdowns() noexcept;
  void Queue(const SubscriptionPtr& target, EventSource source, std::string payload);
  bool OnWorkerThread() const;
  template <class Predicate>
  void EndWhere(std::unique_lock<std::mutex>& lock, Predicate ends);

  std::mutex mutex_;
  std::condition_variable changed_;
  std::condition_variable returned_;
  std::map<Owner, SubscriptionPtr> subscriptions_;
  std::deque<Event> queue_;
  /// Whose callback runs now.
  SubscriptionPtr running_;
  std::unique_ptr<Worker> worker_;
  std::atomic<bool> hasWorker_ = false;
};

}  // namespace KsvAgent
