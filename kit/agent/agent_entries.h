#pragma once

#include <cstdint>

#include "kit/shared/system.h"

/// The entry points of the agent, plain C, found by undecorated name. README.md tells what each does, agent_status.h
/// what each answers.
///
/// Lengths that go out are stored through `uint16_t*`: the buffer's capacity on the way in, what was stored or is
/// needed on the way back. A length pointer must be given; a null buffer counts as one of no bytes.
extern "C" {

using KsvAgentEventCallback = void (*)(const char* appName, uint32_t size, const void* data, uint8_t source);
using KsvAgentInstanceCallback = void (*)(uint32_t instanceId, uint32_t size, const void* data, uint8_t source,
                                          void* context);

// Of both generations.
int32_t ZUB_Init();
int32_t ZUB_DeInit();
int32_t ZUB_GetVersion(uint32_t* version);
int32_t ZUB_GetCapabilities(const char* name, int32_t selector, uint16_t* length, uint8_t* buffer);
int32_t ZUB_GetOTPCapabilities(const char* name, int32_t selector, uint16_t* length, uint8_t* buffer);
int32_t ZUB_GetOTPSStatus();
int32_t ZUB_DoFWUpdate();
int32_t ZUB_Install(const char* name, const KsvKit::WideChar* path);
int32_t ZUB_InstallOTPS(const char* name, const KsvKit::WideChar* path);
int32_t ZUB_Uninstall(const char* name);
int32_t ZUB_UninstallOTPS(const char* name);

// By applet name: the first generation.
int32_t ZUB_StartProvisioning(const char* name, uint32_t* sessionHandle);
int32_t ZUB_EndProvisioning(const char* name, int32_t sessionHandle, uint16_t* length, uint8_t* buffer);
int32_t ZUB_SendData(const char* name, int32_t sessionHandle, int32_t dataType, int32_t length, const uint8_t* data);
int32_t ZUB_ReceiveData(const char* name, int32_t sessionHandle, int32_t dataType, uint16_t* length, uint8_t* buffer);
int32_t ZUB_ProcessSVPMessage(const char* name, int32_t sessionHandle, int32_t length, const uint8_t* data);
int32_t ZUB_GetSVPMessage(const char* name, int32_t sessionHandle, uint16_t* length, uint8_t* buffer);
int32_t ZUB_SendAndReceiveData(const char* name, int32_t sessionHandle, int32_t dataType, int32_t sendLength,
                               const uint8_t* sendData, uint16_t* length, uint8_t* buffer);
int32_t ZUB_GetOTP(const char* name, int32_t otpSelector, int32_t tokenLength, const uint8_t* token,
                   int32_t extraLength, const uint8_t* extra, uint16_t* otpLength, uint8_t* otpBuffer,
                   uint16_t* newTokenLength, uint8_t* newTokenBuffer);
int32_t ZUB_RegisterEventCb(const char* name, KsvAgentEventCallback callback);
int32_t ZUB_UnregisterEventCb(const char* name);

// By instance: the instance generation.
int32_t ZUB3_StartInstance(const char* name, KsvAgentInstanceCallback callback, void* context, uint32_t* instanceId);
int32_t ZUB3_StopInstance(uint32_t instanceId);
int32_t ZUB3_StartProvisioning(uint32_t instanceId, uint32_t* sessionHandle);
int32_t ZUB3_EndProvisioning(uint32_t instanceId, int32_t sessionHandle, uint16_t* length, uint8_t* buffer);
int32_t ZUB3_SendData(uint32_t instanceId, int32_t sessionHandle, int32_t dataType, int32_t length,
                      const uint8_t* data);
int32_t ZUB3_ReceiveData(uint32_t instanceId, int32_t sessionHandle, int32_t dataType, uint16_t* length,
                         uint8_t* buffer);
int32_t ZUB3_SendAndReceiveData(uint32_t instanceId, int32_t sessionHandle, int32_t dataType, int32_t sendLength,
                                const uint8_t* sendData, uint16_t* length, uint8_t* buffer);
int32_t ZUB3_GetOTP(uint32_t instanceId, int32_t otpSelector, int32_t tokenLength, const uint8_t* token,
                    int32_t extraLength, const uint8_t* extra, uint16_t* otpLength, uint8_t* otpBuffer,
                    uint16_t* newTokenLength, uint8_t* newTokenBuffer);

}  // extern "C"
