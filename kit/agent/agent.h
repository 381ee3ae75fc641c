#pragma once

#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <variant>

#include "kit/agent/applets.h"
#include "kit/agent/events.h"
#include "kit/agent/sessions.h"

namespace KsvAgent {

/// The two types of data that a session knows; both mean the provisioning text.
constexpr int32_t kUriDataType = 0;
constexpr int32_t kSvpDataType = 600;

/// What a call works on: an applet's name as the caller gave it, or an instance id. The form tells which generation the
/// call belongs to.
using Target = std::variant<const char*, uint32_t>;

/// A caller's buffer with its length, which goes in as the capacity. A null buffer has no capacity.
struct OutputBuffer {
  uint16_t* length;
  uint8_t* data;

  size_t capacity() const { return data != nullptr ? *length : 0; }
};

/// The agent behind the entry points: one for the process. Members may be called on any thread; they throw `AgentError`
/// with what went wrong. The mutex covers the members below it and is never held while a callback runs or is waited
/// for.
class Agent {
 public:
  Agent();

  /// May be called again, without effect.
  void Init();
  /// Ends every session, instance and registration. Throws kCallbackRunning with all as it was.
  void DeInit();
  void RequireInitialised();
  /// The generation in the lowest byte, the agent's own version above it.
  uint32_t Version() const;
  void GetCapabilities(const char* name, int32_t selector, OutputBuffer out);

  void Install(const char* name, const WideChar* path);
  void Uninstall(const char* name);

  uint32_t StartProvisioning(Target target);
  void SendData(Target target, int32_t session, int32_t dataType, ByteView data);
  void ReceiveData(Target target, int32_t session, int32_t dataType, OutputBuffer out);
  /// Sends nothing when `data` is empty. With a short buffer nothing has been sent either.
  void SendAndReceiveData(Target target, int32_t session, int32_t dataType, ByteView data, OutputBuffer out);
  /// Gives the token and ends the session. So does a text that makes no account (kBadProvisioningData,
  /// kUnsupportedParameters); after any other failure the session stands.
  void EndProvisioning(Target target, int32_t session, OutputBuffer out);
  void GetOtp(Target target, int32_t selector, ByteView token, ByteView extra, OutputBuffer otp, OutputBuffer newToken);

  void RegisterEvents(const char* name, EventHub::Sink sink);
  void UnregisterEvents(const char* name);
  /// `makeSink` is given the id; without it the instance has no events. The id is stored before the first event can
  /// come.
  void StartInstance(const char* name, const std::function<EventHub::Sink(uint32_t)>& makeSink, uint32_t& instanceId);
  void StopInstance(uint32_t instanceId);

  /// Whether nothing of the agent runs on a thread of its own.
  bool IsAtRest() const noexcept { return !events_.HasWorker(); }

 private:
  struct Resolved {
    Owner owner;
    Applet applet;
  };
  struct Instance {
    std::string applet;
    bool hasEvents = false;
  };

  // All of these are called with the mutex held.
  void CheckInitialised() const { Require(initialised_, Status::kNotInitialised); }
  void CheckGeneration(uint8_t generation) const { Require(generation_ == generation, Status::kWrongGeneration); }
  const Instance& FindInstance(uint32_t instanceId) const;
  Resolved Resolve(Target target) const;

  const uint8_t generation_;
  EventHub events_;

  std::mutex mutex_;
  bool initialised_ = false;
  Sessions sessions_;
  std::map<uint32_t, Instance> instances_;
};

}  // namespace KsvAgent
