#pragma once

#include <chrono>
#include <map>

#include "kit/agent/agent_error.h"
#include "kit/agent/client.h"

namespace KsvAgent {

/// The open provisioning sessions, limited in number and size. The text that was sent is wiped when its session ends.
/// Not thread-safe: the agent's mutex guards it.
class Sessions {
 public:
  /// Opens a session. When all are in use, those that have been idle for ten minutes are dropped; throws
  /// kTooManySessions when there are none.
  uint32_t Start(const Client& client);

  /// The text sent so far. Throws kUnknownSession for a handle that is not this client's.
  const SecretBytes& Input(int32_t handle, const Client& client);

  /// Adds to the text. Throws kUnknownSession, kEmptyInput, and kInputTooLong with nothing added.
  void Append(int32_t handle, const Client& client, ByteView data);

  /// Truncates the text to this size.
  void Shorten(int32_t handle, const Client& client, size_t size) { Find(handle, client).input.resize(size); }

  void End(int32_t handle) { sessions_.erase(static_cast<uint32_t>(handle)); }
  void EndAllOf(const Client& client);
  void EndAllOfApplet(std::string_view applet);
  void Clear() { sessions_.clear(); }

 private:
  using Clock = std::chrono::steady_clock;
  struct Session {
    Client client;
    SecretBytes input;
    Clock::time_point lastUse;
  };

  Session& Find(int32_t handle, const Client& client);

  std::map<uint32_t, Session> sessions_;
};

}  // namespace KsvAgent
