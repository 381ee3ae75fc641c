#pragma once

#include <map>

#include "kit/agent/agent_error.h"
#include "kit/agent/client.h"
#include "kit/shared/callback_thread.h"

namespace KsvAgent {

/// Where an event comes from: the `source` byte of both callbacks.
enum class EventSource : uint8_t { kClock = 1, kProvisioning = 2, kApplets = 3 };

/// The first second after `now` that a countdown over `period` reports: each of the last five seconds, and the change
/// itself.
int64_t NextCountdownSecond(int64_t now, uint32_t period);

/// Delivers events to the registered clients, in the order in which they were posted.
///
/// A callback may call any member. When `Unsubscribe` or `Close` returns, no callback of what it ended is running or
/// will run, unless the call was made from within that callback; a callback that does not return in time makes them
/// throw kCallbackRunning with the registration unchanged. All members may be called on any thread.
class EventHub {
 public:
  using Sink = std::function<void(ByteView payload, uint8_t source)>;

  /// Throws kAlreadyRegistered. The countdown's period is 30 seconds until `SetPeriod`.
  void Subscribe(const Client& client, Sink sink);
  /// Throws kNotRegistered and kCallbackRunning.
  void Unsubscribe(const Client& client);
  /// Ends all registrations. Throws kCallbackRunning.
  void Close();

  /// No-op when the client is not registered.
  void Post(const Client& client, EventSource source, const std::string& payload);
  void PostToAll(EventSource source, const std::string& payload);
  void SetPeriod(const Client& client, uint32_t period);

  /// As `CallbackThread::IsRunning`.
  bool HasThread() const noexcept { return thread_.IsRunning(); }

 private:
  struct Subscription {
    std::shared_ptr<CallbackRegistration> registration;
    std::shared_ptr<const Sink> sink;
    uint32_t period = 30;
    int64_t due = 0;

    void Post(EventSource source, std::string payload) const;
  };
  using Subscriptions = std::map<Client, Subscription>;

  void End(const Subscriptions& ended);
  std::optional<CallbackThread::Clock::time_point> PostDueCountdowns() noexcept;

  std::mutex mutex_;
  CallbackThread thread_{[this] { return PostDueCountdowns(); }};
  Subscriptions subscriptions_;
};

}  // namespace KsvAgent
