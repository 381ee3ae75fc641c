#include "kit/agent/events.h"

#include <algorithm>
#include <limits>
#include <nlohmann/json.hpp>

namespace KsvAgent {
namespace {

using Clock = CallbackThread::Clock;
using Wait = CallbackThread::Wait;

constexpr int64_t kCountdownSeconds = 5;

int64_t Now() {
  return std::chrono::duration_cast<std::chrono::seconds>(Clock::now().time_since_epoch()).count();
}

/// The event at `now` of a countdown that was due at `due`. It reports a change that fell between the two.
std::string CountdownPayload(int64_t due, int64_t now, uint32_t period) {
  const bool changes = now / period > (due - 1) / period;
  const nlohmann::ordered_json event = {
      {"event", changes ? "changed" : "countdown"}, {"period", period}, {"remaining", period - now % period}};
  return event.dump();
}

}  // namespace

int64_t NextCountdownSecond(int64_t now, uint32_t period) {
  const int64_t next = now + 1;
  const int64_t into = next % period;
  if (into == 0 || period - into <= kCountdownSeconds) return next;
  return next - into + period - kCountdownSeconds;
}

void EventHub::Subscription::Post(EventSource source, std::string payload) const {
  registration->Post(
      [to = sink, payload = std::move(payload), source] { (*to)(AsBytes(payload), static_cast<uint8_t>(source)); });
}

void EventHub::Subscribe(const Client& client, Sink sink) {
  Subscription subscription;
  // Before the lock, which the thread's timer takes.
  subscription.registration = std::make_shared<CallbackRegistration>(thread_);
  subscription.sink = std::make_shared<const Sink>(std::move(sink));
  subscription.due = NextCountdownSecond(Now(), subscription.period);
  {
    const std::scoped_lock lock(mutex_);
    Require(subscriptions_.try_emplace(client, subscription).second, Status::kAlreadyRegistered);
  }
  thread_.Wake();
}

void EventHub::Unsubscribe(const Client& client) {
  Subscriptions ended;
  {
    const std::scoped_lock lock(mutex_);
    const auto found = subscriptions_.find(client);
    Require(found != subscriptions_.end(), Status::kNotRegistered);
    ended.insert(*found);
  }
  End(ended);
}

void EventHub::Close() {
  Subscriptions ended;
  {
    const std::scoped_lock lock(mutex_);
    ended = subscriptions_;
  }
  End(ended);
  // A registration that was ended from within its callback may still be in it.
  Require(thread_.AwaitReturn() != Wait::kTimedOut, Status::kCallbackRunning);
  thread_.StopIfIdle();
}

/// All of them or, when one of their callbacks does not return in time, none.
void EventHub::End(const Subscriptions& ended) {
  std::vector<CallbackHold> holds;
  for (const auto& [client, subscription] : ended) {
    holds.emplace_back(subscription.registration);
    Require(holds.back().wait() != Wait::kTimedOut, Status::kCallbackRunning);
  }
  {
    const std::scoped_lock lock(mutex_);
    for (const auto& [client, subscription] : ended) {
      const auto found = subscriptions_.find(client);
      const bool isSame = found != subscriptions_.end() && found->second.registration == subscription.registration;
      if (isSame) subscriptions_.erase(found);
    }
  }
  // Without the lock, which the thread's timer takes.
  for (const auto& [client, subscription] : ended) subscription.registration->End();
}

void EventHub::Post(const Client& client, EventSource source, const std::string& payload) {
  const std::scoped_lock lock(mutex_);
  if (const auto found = subscriptions_.find(client); found != subscriptions_.end()) {
    found->second.Post(source, payload);
  }
}

void EventHub::PostToAll(EventSource source, const std::string& payload) {
  const std::scoped_lock lock(mutex_);
  for (const auto& [client, subscription] : subscriptions_) subscription.Post(source, payload);
}

void EventHub::SetPeriod(const Client& client, uint32_t period) {
  {
    const std::scoped_lock lock(mutex_);
    const auto found = subscriptions_.find(client);
    if (found == subscriptions_.end() || found->second.period == period) return;
    found->second.period = period;
    found->second.due = NextCountdownSecond(Now(), period);
  }
  thread_.Wake();
}

/// Posts the countdown events that are due. Gives the next second at which one is.
std::optional<Clock::time_point> EventHub::PostDueCountdowns() noexcept try {
  const std::scoped_lock lock(mutex_);
  if (subscriptions_.empty()) return std::nullopt;
  const int64_t now = Now();
  int64_t next = std::numeric_limits<int64_t>::max();
  for (auto& [client, subscription] : subscriptions_) {
    const int64_t following = NextCountdownSecond(now, subscription.period);
    const int64_t due = subscription.due;
    // A clock that was set back leaves a due second far ahead.
    if (due <= now || due > following) subscription.due = following;
    if (due <= now) subscription.Post(EventSource::kClock, CountdownPayload(due, now, subscription.period));
    next = std::min(next, subscription.due);
  }
  return Clock::time_point(std::chrono::seconds(next));
} catch (...) {
  // No memory for an event: it is lost, and the thread tries again.
  return Clock::now() + std::chrono::seconds(1);
}

}  // namespace KsvAgent
