#include "kit/agent/events.h"

#include <algorithm>
#include <chrono>
#include <limits>

#include "kit/agent/json.h"

namespace KsvAgent {
namespace {

using Clock = std::chrono::system_clock;

constexpr size_t kMaxQueued = 256;
constexpr int64_t kCountdownSeconds = 5;
/// A host's callback may wait for the very thread that wants to end its registration; neither must hang for good.
constexpr std::chrono::seconds kReturnLimit{3};

int64_t Now() {
  return std::chrono::duration_cast<std::chrono::seconds>(Clock::now().time_since_epoch()).count();
}

/// What a countdown says at `now` when it was due at `due`; a change that fell between the two must not go unsaid.
std::string CountdownPayload(int64_t due, int64_t now, uint32_t period) {
  const bool changes = now / period > (due - 1) / period;
  return JsonObject()
      .Add("event", changes ? "changed" : "countdown")
      .Add("period", period)
      .Add("remaining", period - now % period)
      .Text();
}

}  // namespace

int64_t NextCountdownSecond(int64_t now, uint32_t period) {
  const int64_t next = now + 1;
  const int64_t into = next % period;
  if (into == 0 || period - into <= kCountdownSeconds) return next;
  return next - into + period - kCountdownSeconds;
}

EventHub::~EventHub() {
  if (worker_ == nullptr) return;
  {
    const std::scoped_lock lock(mutex_);
    worker_->stop = true;
  }
  changed_.notify_all();
  worker_->thread.join();
}

void EventHub::Subscribe(const Owner& owner, Sink sink) {
  const std::scoped_lock lock(mutex_);
  Require(!subscriptions_.contains(owner), Status::kAlreadyRegistered);
  auto subscription = std::make_shared<Subscription>();
  subscription->owner = owner;
  subscription->sink = std::move(sink);
  subscription->due = NextCountdownSecond(Now(), subscription->period);
  if (worker_ == nullptr) {
    auto worker = std::make_unique<Worker>();
    worker->thread = std::thread([this, self = worker.get()] { Run(*self); });
    worker_ = std::move(worker);
    hasWorker_ = true;
  }
  subscriptions_.emplace(owner, std::move(subscription));
  changed_.notify_all();
}

void EventHub::Unsubscribe(const Owner& owner) {
  std::unique_lock lock(mutex_);
  Require(subscriptions_.contains(owner), Status::kNotRegistered);
  EndWhere(lock, [&owner](const Subscription& subscription) { return subscription.owner == owner; });
}

void EventHub::Close() {
  std::unique_lock lock(mutex_);
  EndWhere(lock, [](const Subscription&) { return true; });
}

/// Ends the registrations of which `ends` is true, and the thread with the last of them.
template <class Predicate>
void EventHub::EndWhere(std::unique_lock<std::mutex>& lock, Predicate ends) {
  const auto mark = [this, &ends](bool closing) {
    for (const auto& [owner, subscription] : subscriptions_) {
      if (ends(*subscription)) subscription->closing = closing;
    }
  };
  mark(true);
  if (!OnWorkerThread()) {
    const bool returned = returned_.wait_until(lock, Clock::now() + kReturnLimit,
                                               [&] { return running_ == nullptr || !ends(*running_); });
    if (!returned) {
      mark(false);
      throw AgentError(Status::kCallbackRunning);
    }
  }
  // Once more: another thread may have given up on the same registrations meanwhile, and new ones may have come.
  mark(true);
  std::erase_if(subscriptions_, [&ends](const auto& entry) { return ends(*entry.second); });
  std::erase_if(queue_, [](const Event& event) { return event.target->closing; });
  // A thread cannot wait for its own end: ended from within a callback it stays, idle, until the next call from
  // outside.
  if (!subscriptions_.empty() || OnWorkerThread() || running_ != nullptr || worker_ == nullptr) return;
  const std::unique_ptr<Worker> last = std::move(worker_);
  last->stop = true;
  changed_.notify_all();
  lock.unlock();
  last->thread.join();
  lock.lock();
  hasWorker_ = worker_ != nullptr;
}

void EventHub::Post(const Owner& owner, EventSource source, std::string payload) {
  const std::scoped_lock lock(mutex_);
  if (const auto found = subscriptions_.find(owner); found != subscriptions_.end()) {
    Queue(found->second, source, std::move(payload));
  }
}

void EventHub::PostToAll(EventSource source, const std::string& payload) {
  const std::scoped_lock lock(mutex_);
  for (const auto& [owner, subscription] : subscriptions_) Queue(subscription, source, payload);
}

void EventHub::SetPeriod(const Owner& owner, uint32_t period) {
  const std::scoped_lock lock(mutex_);
  const auto found = subscriptions_.find(owner);
  if (found == subscriptions_.end() || found->second->period == period) return;
  found->second->period = period;
  found->second->due = NextCountdownSecond(Now(), period);
  changed_.notify_all();
}

void EventHub::Queue(const SubscriptionPtr& target, EventSource source, std::string payload) {
  if (target->closing || queue_.size() >= kMaxQueued) return;
  queue_.push_back({target, source, std::move(payload)});
  changed_.notify_all();
}

bool EventHub::OnWorkerThread() const {
  return worker_ != nullptr && worker_->thread.get_id() == std::this_thread::get_id();
}

/// Queues the countdowns whose second has come, and gives the next second at which one comes.
int64_t EventHub::QueueDueCountdowns() noexcept try {
  const int64_t now = Now();
  int64_t next = std::numeric_limits<int64_t>::max();
  for (const auto& [owner, subscription] : subscriptions_) {
    const int64_t following = NextCountdownSecond(now, subscription->period);
    const int64_t due = subscription->due;
    // Also when the clock has been set back, which leaves a due second far ahead.
    if (due <= now || due > following) subscription->due = following;
    if (due <= now) Queue(subscription, EventSource::kClock, CountdownPayload(due, now, subscription->period));
    next = std::min(next, subscription->due);
  }
  return next;
} catch (...) {
  // No memory for an event: it is lost, and the thread must not end the process for that.
  return Now() + 1;
}

void EventHub::Run(const Worker& self) {
  std::unique_lock lock(mutex_);
  while (!self.stop) {
    const int64_t next = QueueDueCountdowns();
    if (queue_.empty()) {
      if (subscriptions_.empty()) {
        changed_.wait(lock);
      } else {
        changed_.wait_until(lock, Clock::time_point(std::chrono::seconds(next)));
      }
      continue;
    }
    const Event event = std::move(queue_.front());
    queue_.pop_front();
    if (event.target->closing) continue;
    running_ = event.target;
    lock.unlock();
    try {
      event.target->sink(AsBytes(event.payload), static_cast<uint8_t>(event.source));
    } catch (...) {
      // A host whose callback fails has no one to tell; its next event is delivered all the same.
    }
    lock.lock();
    running_ = nullptr;
    returned_.notify_all();
  }
}

}  // namespace KsvAgent
