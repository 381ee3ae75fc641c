#pragma once

#include <cstdint>

#include "library/entry_table.h"

namespace NorvoWebAPI::KSV {

/// The library reports an event of a registered applet; on any thread of its own.
using AgentEventCallback = void (*)(const char* appName, uint32_t size, const void* data, uint8_t source);
/// The same for an instance, with the context that was given at its start.
using InstanceEventCallback = void (*)(uint32_t instanceId, uint32_t size, const void* data, uint8_t source,
                                       void* context);

/// The file names of the host agent, in the order of trying. One found under the second takes another applet format.
inline constexpr const WCHAR* kAgentFiles[] = {KSV_WIDE("zub.dll"), KSV_WIDE("otpZub.dll")};

/// The host agent's entry points. `name` is an applet identifier; a 16-bit length goes in as the capacity of the buffer
/// behind it and comes back as the length stored or required. All give the library's status.
struct AgentEntries : EntryTable {
  using Status = int32_t;

  Entry<Status()> Init{*this, "ZUB_Init"};
  Entry<Status()> DeInit{*this, "ZUB_DeInit"};
  Entry<Status(const char* name, uint32_t* session)> StartProvisioning{*this, "ZUB_StartProvisioning"};
  Entry<Status(uint32_t instance, uint32_t* session)> StartProvisioning3{*this, "ZUB3_StartProvisioning"};
  Entry<Status(const char* name, int32_t session, uint16_t* length, uint8_t* buffer)> EndProvisioning{
      *this, "ZUB_EndProvisioning"};
  Entry<Status(const char* name, int32_t session, int32_t dataType, int32_t length, const uint8_t* data)> SendData{
      *this, "ZUB_SendData"};
  Entry<Status(const char* name, int32_t session, int32_t dataType, uint16_t* length, uint8_t* buffer)> ReceiveData{
      *this, "ZUB_ReceiveData"};
  Entry<Status(const char* name, int32_t session, int32_t length, const uint8_t* data)> ProcessSVPMessage{
      *this, "ZUB_ProcessSVPMessage"};
  Entry<Status(const char* name, int32_t session, uint16_t* length, uint8_t* buffer)> GetSVPMessage{
      *this, "ZUB_GetSVPMessage"};
  Entry<Status(const char* name, int32_t session, int32_t dataType, int32_t sendLength, const uint8_t* sendData,
               uint16_t* length, uint8_t* buffer)>
      SendAndReceiveData{*this, "ZUB_SendAndReceiveData"};
  Entry<Status(uint32_t instance, int32_t session, int32_t dataType, int32_t sendLength, const uint8_t* sendData,
               uint16_t* length, uint8_t* buffer)>
      SendAndReceiveData3{*this, "ZUB3_SendAndReceiveData"};
  Entry<Status(const char* name, int32_t selector, uint16_t* length, uint8_t* buffer)> GetCapabilities{
      *this, "ZUB_GetCapabilities"};
  Entry<Status(uint32_t* version)> GetVersion{*this, "ZUB_GetVersion"};
  Entry<Status(const char* name, const WCHAR* path)> Install{*this, "ZUB_Install"};
  Entry<Status(const char* name)> Uninstall{*this, "ZUB_Uninstall"};
  Entry<Status()> DoFWUpdate{*this, "ZUB_DoFWUpdate"};
  Entry<Status(const char* name, int32_t otpSelector, int32_t tokenLength, const uint8_t* token, int32_t extraLength,
               const uint8_t* extra, uint16_t* otpLength, uint8_t* otp, uint16_t* newTokenLength, uint8_t* newToken)>
      GetOTP{*this, "ZUB_GetOTP"};
  Entry<Status(uint32_t instance, int32_t otpSelector, int32_t tokenLength, const uint8_t* token, int32_t extraLength,
               const uint8_t* extra, uint16_t* otpLength, uint8_t* otp, uint16_t* newTokenLength, uint8_t* newToken)>
      GetOTP3{*this, "ZUB3_GetOTP"};
  Entry<Status(const char* name, AgentEventCallback callback)> RegisterEventCb{*this, "ZUB_RegisterEventCb"};
  Entry<Status(const char* name)> UnregisterEventCb{*this, "ZUB_UnregisterEventCb"};
  Entry<Status(const char* name, InstanceEventCallback callback, void* context, uint32_t* instance)> StartInstance3{
      *this, "ZUB3_StartInstance"};
  Entry<Status(uint32_t instance)> StopInstance3{*this, "ZUB3_StopInstance"};
  Entry<Status()> GetOTPSStatus{*this, "ZUB_GetOTPSStatus"};  // Bound with the others; nothing calls it.
  Entry<Status(const char* name, int32_t selector, uint16_t* length, uint8_t* buffer)> GetOTPCapabilities{
      *this, "ZUB_GetOTPCapabilities"};
  Entry<Status(const char* name, const WCHAR* path)> InstallOTPS{*this, "ZUB_InstallOTPS"};
  Entry<Status(const char* name)> UninstallOTPS{*this, "ZUB_UninstallOTPS"};
  Entry<Status(uint32_t instance, int32_t session, int32_t dataType, int32_t length, const uint8_t* data)> SendData3{
      *this, "ZUB3_SendData"};
  Entry<Status(uint32_t instance, int32_t session, int32_t dataType, uint16_t* length, uint8_t* buffer)> ReceiveData3{
      *this, "ZUB3_ReceiveData"};
  Entry<Status(uint32_t instance, int32_t session, uint16_t* length, uint8_t* buffer)> EndProvisioning3{
      *this, "ZUB3_EndProvisioning"};
};

}  // namespace NorvoWebAPI::KSV
