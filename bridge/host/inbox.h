#pragma once

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
  /// Why no more messages come, once the last one is taken: empty for the end of the input.
  std::optional<std::string> Closed();

 private:
  const std::function<void()> wake;
  std::mutex mutex;
  std::deque<std::string> messages;
  size_t waiting = 0;  // In bytes.
  std::optional<std::string> closed;
};

}  // namespace Bridge
