#include "kit/agent/sessions.h"

#include "kit/shared/handles.h"

namespace KsvAgent {
namespace {

constexpr size_t kMaxSessions = 64;
constexpr size_t kMaxInput = 4096;
constexpr std::chrono::minutes kIdleLimit{10};

}  // namespace

uint32_t Sessions::Start(const Client& client) {
  const Clock::time_point now = Clock::now();
  if (sessions_.size() >= kMaxSessions) {
    // A page that is closed while it provisions does not end its session.
    std::erase_if(sessions_, [now](const auto& entry) { return now - entry.second.lastUse >= kIdleLimit; });
  }
  Require(sessions_.size() < kMaxSessions, Status::kTooManySessions);
  const uint32_t handle = RandomHandle(sessions_);
  sessions_.emplace(handle, Session{client, {}, now});
  return handle;
}

Sessions::Session& Sessions::Find(int32_t handle, const Client& client) {
  const auto found = sessions_.find(static_cast<uint32_t>(handle));
  Require(found != sessions_.end() && found->second.client == client, Status::kUnknownSession);
  found->second.lastUse = Clock::now();
  return found->second;
}

const SecretBytes& Sessions::Input(int32_t handle, const Client& client) {
  return Find(handle, client).input;
}

void Sessions::Append(int32_t handle, const Client& client, ByteView data) {
  Session& session = Find(handle, client);
  Require(!data.empty(), Status::kEmptyInput);
  Require(data.size() <= kMaxInput - session.input.size(), Status::kInputTooLong);
  KsvAgent::Append(session.input, data);
}

void Sessions::EndAllOf(const Client& client) {
  std::erase_if(sessions_, [&client](const auto& entry) { return entry.second.client == client; });
}

void Sessions::EndAllOfApplet(std::string_view applet) {
  std::erase_if(sessions_, [applet](const auto& entry) { return entry.second.client.applet == applet; });
}

}  // namespace KsvAgent
