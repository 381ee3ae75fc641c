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

/// The two data types; the agent treats both as provisioning text.
constexpr int32_t kUriDataType = 0;
constexpr int32_t kSvpDataType = 600;

/// What a call works on: an applet's name (first generation), or an instance id (instance generation).
using Target = std::variant<const char*, uint32_t>;

/// A caller's buffer; `*length` is its capacity at first, then the stored or required length. A null buffer has
/// capacity 0.
struct OutputBuffer {
  uint16_t* length;
  uint8_t* data;

  size_t capacity() const { return data != nullptr ? *length : 0; }
};

/// The agent behind the entry points: one for the process. Members may be called on any thread; they throw
/// `AgentError`. The mutex guards the members below it and is never held while a callback runs or is waited for.
class Agent {
 public:
  Agent();

  /// A second call is a no-op.
  void Init();
  /// Ends every session, instance and registration. Throws kCallbackRunning with nothing changed.
  void DeInit();
  void RequireInitialised();
  /// The generation in the lowest byte, the agent's own version above it.
  uint32_t Version() const;
  void GetCapabilities(const char* name, int32_t selector, OutputBuffer out);

  void Install(const char* name, const WCHAR* path);
  void Uninstall(const char* name);

  uint32_t StartProvisioning(Target target);
  void SendData(Target target, int32_t session, int32_t dataType, ByteView data);
  void ReceiveData(Target target, int32_t session, int32_t dataType, OutputBuffer out);
  /// Sends nothing when `data` is empty, nor when the buffer is too short.
  void SendAndReceiveData(Target target, int32_t session, int32_t dataType, ByteView data, OutputBuffer out);
  /// Stores the token and ends the session. kBadProvisioningData and kUnsupportedParameters end the session too; after
  /// any other error it goes on.
  void EndProvisioning(Target target, int32_t session, OutputBuffer out);
  void GetOtp(Target target, int32_t selector, ByteView token, ByteView extra, OutputBuffer otp, OutputBuffer newToken);

  void RegisterEvents(const char* name, EventHub::Sink sink);
  void UnregisterEvents(const char* name);
  /// `makeSink` gets the id; when it is empty the instance has no events. The id is stored before the first event is
  /// delivered.
  void StartInstance(const char* name, const std::function<EventHub::Sink(uint32_t)>& makeSink, uint32_t& instanceId);
  void StopInstance(uint32_t instanceId);

  /// Whether the agent has no thread now.
  bool IsAtRest() const noexcept { return !events_.HasThread(); }

 private:
  struct Resolved {
    Client client;
    Applet applet;
  };
  struct Instance {
    std::string applet;
    bool hasEvents = false;
  };

  // These are called with the mutex held.
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
