#pragma once

#include <chrono>
#include <map>

#include "kit/agent/agent_error.h"
#include "kit/agent/owner.h"

namespace KsvAgent {

/// The provisioning sessions that are open. Bounded in number and size; the text that was sent is wiped with its
/// session. Takes no lock: the agent's covers it.
class Sessions {
 public:
  /// Opens a session. When all are taken, those that have been idle for ten minutes make room; throws kTooManySessions
  /// when there are none.
  uint32_t Start(const Owner& owner);

  /// The text sent so far. Throws kUnknownSession for a handle that this owner does not hold.
  const SecretBytes& Input(int32_t handle, const Owner& owner);

  /// Adds to the text. Throws kUnknownSession, kEmptyInput, and kInputTooLong with nothing added.
  void Append(int32_t handle, const Owner& owner, ByteView data);

  /// Takes back what was added since the text had this size.
  void Shorten(int32_t handle, const Owner& owner, size_t size) { Find(handle, owner).input.resize(size); }

  void End(int32_t handle) { sessions_.erase(static_cast<uint32_t>(handle)); }
  void EndAllOf(const Owner& owner);
  void EndAllOfApplet(std::string_view applet);
  void Clear() { sessions_.clear(); }

 private:
  using Clock = std::chrono::steady_clock;
  struct Session {
    Owner owner;
    SecretBytes input;
    Clock::time_point lastUse;
  };

  Session& Find(int32_t handle, const Owner& owner);

  std::map<uint32_t, Session> sessions_;
};

}  // namespace KsvAgent
