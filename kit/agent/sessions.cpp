#include "kit/agent/sessions.h"

#include "kit/shared/handles.h"

namespace KsvAgent {
namespace {

constexpr size_t kMaxSessions = 64;
constexpr size_t kMaxInput = 4096;
constexpr std::chrono::minutes kIdleLimit{10};

}  // namespace

uint32_t Sessions::Start(const Owner& owner) {
  const Clock::time_point now = Clock::now();
  if (sessions_.size() >= kMaxSessions) {
    // A page that went away in the middle leaves its session behind.
    std::erase_if(sessions_, [now](const auto& entry) { return now - entry.second.lastUse >= kIdleLimit; });
  }
  Require(sessions_.size() < kMaxSessions, Status::kTooManySessions);
  const uint32_t handle = DrawHandle(sessions_);
  sessions_.emplace(handle, Session{owner, {}, now});
  return handle;
}

Sessions::Session& Sessions::Find(int32_t handle, const Owner& owner) {
  const auto found = sessions_.find(static_cast<uint32_t>(handle));
  Require(found != sessions_.end() && found->second.owner == owner, Status::kUnknownSession);
  found->second.lastUse = Clock::now();
  return found->second;
}

const SecretBytes& Sessions::Input(int32_t handle, const Owner& owner) {
  return Find(handle, owner).input;
}

void Sessions::Append(int32_t handle, const Owner& owner, ByteView data) {
  Session& session = Find(handle, owner);
  Require(!data.empty(), Status::kEmptyInput);
  Require(data.size() <= kMaxInput - session.input.size(), Status::kInputTooLong);
  KsvAgent::Append(session.input, data);
}

void Sessions::EndAllOf(const Owner& owner) {
  std::erase_if(sessions_, [&owner](const auto& entry) { return entry.second.owner == owner; });
}

void Sessions::EndAllOfApplet(std::string_view applet) {
  std::erase_if(sessions_, [applet](const auto& entry) { return entry.second.owner.applet == applet; });
}

}  // namespace KsvAgent
