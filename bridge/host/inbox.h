#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <string>

namespace Bridge {

/// The messages that have come and are not handled yet, in their order. They are put in on the reading thread and taken
/// out on the module's.
class Inbox {
 public:
  /// `wake` is called on the reading thread when there is something new.
  explicit Inbox(std::function<void()> wakeUp) : wake(std::move(wakeUp)) {}

  /// Never waits, so that the end of the input is seen while the module is at work. Throws `ProtocolError` when more
  /// than twice the longest message waits.
  void Put(std::string message);
  void Close(std::string reason);

  std::optional<std::string> Take();
  /// Waits for a message without taking the window's; gives nothing at the end of the input, or when none has come by
  /// then.
  std::optional<std::string> TakeUntil(std::chrono::steady_clock::time_point end);
  /// Why no more messages come, once the last one is taken: empty for the end of the input.
  std::optional<std::string> Closed();

 private:
  const std::function<void()> wake;
  std::mutex mutex;
  std::condition_variable arrived;
  std::deque<std::string> messages;
  size_t waiting = 0;  // In bytes.
  std::optional<std::string> closed;
};

}  // namespace Bridge
