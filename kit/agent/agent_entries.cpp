#include <memory>

#include "kit/agent/agent.h"
#include "vendor/zub.h"

namespace KsvAgent {
namespace {

/// At the end of a process the agent's thread may still run, or the system may have ended it while it held a lock. Then
/// nothing is freed.
struct DeleteIfAtRest {
  void operator()(Agent* agent) const noexcept {
    if (agent->IsAtRest()) delete agent;
  }
};

Agent& TheAgent() {
  static const std::unique_ptr<Agent, DeleteIfAtRest> agent(std::make_unique<Agent>().release());
  return *agent;
}

/// Runs the work of an entry point.
template <class Operation>
int32_t Guarded(Operation&& operation) noexcept {
  return static_cast<int32_t>(StatusOf<Status>([&] { operation(TheAgent()); }));
}

ByteView Input(int32_t length, const uint8_t* data) {
  Require(length >= 0 && (length == 0 || data != nullptr), Status::kInvalidArgument);
  return {data, static_cast<size_t>(length)};
}

OutputBuffer Output(uint16_t* length, uint8_t* buffer) {
  Require(length != nullptr, Status::kInvalidArgument);
  return {length, buffer};
}

template <class Pointer>
Pointer NotNull(Pointer pointer) {
  Require(pointer != nullptr, Status::kInvalidArgument);
  return pointer;
}

/// Stores what `make` gives; without a place for it nothing is made.
template <class Make>
void StoreIn(uint32_t* out, Make make) {
  NotNull(out);
  *out = make();
}

EventHub::Sink ByName(const char* name, AgentEventCallback callback) {
  return [name = std::string(name), callback](ByteView data, uint8_t source) {
    callback(name.c_str(), static_cast<uint32_t>(data.size()), data.data(), source);
  };
}

std::function<EventHub::Sink(uint32_t)> ByInstance(InstanceEventCallback callback, void* context) {
  if (callback == nullptr) return nullptr;
  return [callback, context](uint32_t id) -> EventHub::Sink {
    return [callback, context, id](ByteView data, uint8_t source) {
      callback(id, static_cast<uint32_t>(data.size()), data.data(), source, context);
    };
  };
}

}  // namespace
}  // namespace KsvAgent

using namespace KsvAgent;

int32_t ZUB_Init() {
  return Guarded([](Agent& agent) { agent.Init(); });
}

int32_t ZUB_DeInit() {
  return Guarded([](Agent& agent) { agent.DeInit(); });
}

int32_t ZUB_GetVersion(uint32_t* version) {
  return Guarded([=](Agent& agent) { StoreIn(version, [&] { return agent.Version(); }); });
}

int32_t ZUB_GetCapabilities(const char* name, int32_t selector, uint16_t* length, uint8_t* buffer) {
  return Guarded([=](Agent& agent) { agent.GetCapabilities(name, selector, Output(length, buffer)); });
}

int32_t ZUB_GetOTPCapabilities(const char* name, int32_t selector, uint16_t* length, uint8_t* buffer) {
  return ZUB_GetCapabilities(name, selector, length, buffer);
}

int32_t ZUB_GetOTPSStatus() {
  return Guarded([](Agent& agent) { agent.RequireInitialised(); });
}

int32_t ZUB_DoFWUpdate() {
  // There is no firmware behind this agent, so it is always up to date.
  return Guarded([](Agent& agent) { agent.RequireInitialised(); });
}

int32_t ZUB_Install(const char* name, const WCHAR* path) {
  return Guarded([=](Agent& agent) { agent.Install(name, path); });
}

int32_t ZUB_InstallOTPS(const char* name, const WCHAR* path) {
  return ZUB_Install(name, path);
}

int32_t ZUB_Uninstall(const char* name) {
  return Guarded([=](Agent& agent) { agent.Uninstall(name); });
}

int32_t ZUB_UninstallOTPS(const char* name) {
  return ZUB_Uninstall(name);
}

int32_t ZUB_StartProvisioning(const char* name, uint32_t* sessionHandle) {
  return Guarded([=](Agent& agent) { StoreIn(sessionHandle, [&] { return agent.StartProvisioning(name); }); });
}

int32_t ZUB3_StartProvisioning(uint32_t instanceId, uint32_t* sessionHandle) {
  return Guarded([=](Agent& agent) { StoreIn(sessionHandle, [&] { return agent.StartProvisioning(instanceId); }); });
}

int32_t ZUB_EndProvisioning(const char* name, int32_t sessionHandle, uint16_t* length, uint8_t* buffer) {
  return Guarded([=](Agent& agent) { agent.EndProvisioning(name, sessionHandle, Output(length, buffer)); });
}

int32_t ZUB3_EndProvisioning(uint32_t instanceId, int32_t sessionHandle, uint16_t* length, uint8_t* buffer) {
  return Guarded([=](Agent& agent) { agent.EndProvisioning(instanceId, sessionHandle, Output(length, buffer)); });
}

int32_t ZUB_SendData(const char* name, int32_t sessionHandle, int32_t dataType, int32_t length, const uint8_t* data) {
  return Guarded([=](Agent& agent) { agent.SendData(name, sessionHandle, dataType, Input(length, data)); });
}

int32_t ZUB3_SendData(uint32_t instanceId, int32_t sessionHandle, int32_t dataType, int32_t length,
                      const uint8_t* data) {
  return Guarded([=](Agent& agent) { agent.SendData(instanceId, sessionHandle, dataType, Input(length, data)); });
}

int32_t ZUB_ReceiveData(const char* name, int32_t sessionHandle, int32_t dataType, uint16_t* length, uint8_t* buffer) {
  return Guarded([=](Agent& agent) { agent.ReceiveData(name, sessionHandle, dataType, Output(length, buffer)); });
}

int32_t ZUB3_ReceiveData(uint32_t instanceId, int32_t sessionHandle, int32_t dataType, uint16_t* length,
                         uint8_t* buffer) {
  return Guarded([=](Agent& agent) { agent.ReceiveData(instanceId, sessionHandle, dataType, Output(length, buffer)); });
}

int32_t ZUB_ProcessSVPMessage(const char* name, int32_t sessionHandle, int32_t length, const uint8_t* data) {
  return ZUB_SendData(name, sessionHandle, kSvpDataType, length, data);
}

int32_t ZUB_GetSVPMessage(const char* name, int32_t sessionHandle, uint16_t* length, uint8_t* buffer) {
  return ZUB_ReceiveData(name, sessionHandle, kSvpDataType, length, buffer);
}

int32_t ZUB_SendAndReceiveData(const char* name, int32_t sessionHandle, int32_t dataType, int32_t sendLength,
                               const uint8_t* sendData, uint16_t* length, uint8_t* buffer) {
  return Guarded([=](Agent& agent) {
    agent.SendAndReceiveData(name, sessionHandle, dataType, Input(sendLength, sendData), Output(length, buffer));
  });
}

int32_t ZUB3_SendAndReceiveData(uint32_t instanceId, int32_t sessionHandle, int32_t dataType, int32_t sendLength,
                                const uint8_t* sendData, uint16_t* length, uint8_t* buffer) {
  return Guarded([=](Agent& agent) {
    agent.SendAndReceiveData(instanceId, sessionHandle, dataType, Input(sendLength, sendData), Output(length, buffer));
  });
}

int32_t ZUB_GetOTP(const char* name, int32_t otpSelector, int32_t tokenLength, const uint8_t* token,
                   int32_t extraLength, const uint8_t* extra, uint16_t* otpLength, uint8_t* otpBuffer,
                   uint16_t* newTokenLength, uint8_t* newTokenBuffer) {
  return Guarded([=](Agent& agent) {
    agent.GetOtp(name, otpSelector, Input(tokenLength, token), Input(extraLength, extra), Output(otpLength, otpBuffer),
                 Output(newTokenLength, newTokenBuffer));
  });
}

int32_t ZUB3_GetOTP(uint32_t instanceId, int32_t otpSelector, int32_t tokenLength, const uint8_t* token,
                    int32_t extraLength, const uint8_t* extra, uint16_t* otpLength, uint8_t* otpBuffer,
                    uint16_t* newTokenLength, uint8_t* newTokenBuffer) {
  return Guarded([=](Agent& agent) {
    agent.GetOtp(instanceId, otpSelector, Input(tokenLength, token), Input(extraLength, extra),
                 Output(otpLength, otpBuffer), Output(newTokenLength, newTokenBuffer));
  });
}

int32_t ZUB_RegisterEventCb(const char* name, AgentEventCallback callback) {
  return Guarded([=](Agent& agent) { agent.RegisterEvents(name, ByName(NotNull(name), NotNull(callback))); });
}

int32_t ZUB_UnregisterEventCb(const char* name) {
  return Guarded([=](Agent& agent) { agent.UnregisterEvents(name); });
}

int32_t ZUB3_StartInstance(const char* name, InstanceEventCallback callback, void* context, uint32_t* instanceId) {
  return Guarded([=](Agent& agent) { agent.StartInstance(name, ByInstance(callback, context), *NotNull(instanceId)); });
}

int32_t ZUB3_StopInstance(uint32_t instanceId) {
  return Guarded([=](Agent& agent) { agent.StopInstance(instanceId); });
}
