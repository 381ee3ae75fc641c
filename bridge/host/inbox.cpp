#include "bridge/host/inbox.h"

#include <utility>

#include "bridge/host/protocol.h"

namespace Bridge {
namespace {

constexpr size_t kMaxWaiting = 2 * kMaxMessage;

// Counts the string object too, so that very many short messages are limited as well.
size_t SizeOf(const std::string& message) {
  return message.size() + sizeof(std::string);
}

}  // namespace

void Inbox::Put(std::string message) {
  {
    const std::lock_guard lock(mutex);
    if (waiting + SizeOf(message) > kMaxWaiting) throw ProtocolError("too many messages wait");
    waiting += SizeOf(message);
    messages.push_back(std::move(message));
  }
  arrived.notify_all();
  wake();
}

void Inbox::Close(std::string reason) {
  {
    const std::lock_guard lock(mutex);
    closed = std::move(reason);
  }
  arrived.notify_all();
  wake();
}

std::optional<std::string> Inbox::TakeUntil(std::chrono::steady_clock::time_point end) {
  {
    std::unique_lock lock(mutex);
    arrived.wait_until(lock, end, [this] { return !messages.empty() || closed; });
  }
  return Take();
}

std::optional<std::string> Inbox::Take() {
  const std::lock_guard lock(mutex);
  if (messages.empty()) return std::nullopt;
  std::string message = std::move(messages.front());
  messages.pop_front();
  waiting -= SizeOf(message);
  return message;
}

std::optional<std::string> Inbox::Closed() {
  const std::lock_guard lock(mutex);
  return messages.empty() ? closed : std::nullopt;
}

}  // namespace Bridge
