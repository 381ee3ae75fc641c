/// The contract of the vendor's host-agent library, which is found at run time and never linked against. Whoever calls
/// the library takes the signatures from here, and whoever stands in for it defines these very functions.
///
/// Rules for all entry points:
/// - Plain C functions, exported undecorated. A library may lack any of them. Those that begin with `ZUB3_` belong to
///   the instance generation, which names an applet's instance by number instead of the applet by its identifier.
/// - The result is the library's status: `AgentStatus` or a number of the library's own.
/// - All memory belongs to the caller, and the library may use it during the call only. It keeps a callback and its
///   context until the registration ends or the instance is stopped.
/// - `name` is an applet identifier, a text that ends with a zero; null is the empty one.
/// - Inputs have a length in bytes and may be null when that is 0.
/// - A `uint16_t*` length counts the bytes of the buffer behind it: on the way in the capacity, on the way back what
///   was stored, or with `kAgentBufferTooSmall` what is required. The buffer may be null for a capacity of 0.
/// - The plug-in calls from the browser's thread. The library may run callbacks on threads of its own.
#pragma once

#include <cstdint>

#include "platform/wide_text.h"

/// The library's file names, in the order of trying. One found under the second takes another applet format.
inline constexpr const WCHAR* kAgentFiles[] = {KSV_WIDE("zub.dll"), KSV_WIDE("otpZub.dll")};

extern "C" {

/// The statuses that mean something outside the library.
enum AgentStatus : int32_t {
  kAgentOk = 0,
  kAgentNotCalled = 10,  ///< Not the library's: pages read it for a call that did not reach the library.
  kAgentBufferTooSmall = 11,
};

/// Reports an event of a registered applet. The name and the data end with the call.
using AgentEventCallback = void (*)(const char* appName, uint32_t size, const void* data, uint8_t source);
/// The same for an instance, with the context that was given at its start.
using InstanceEventCallback = void (*)(uint32_t instanceId, uint32_t size, const void* data, uint8_t source,
                                       void* context);

int32_t ZUB_Init();
int32_t ZUB_DeInit();
/// The lowest byte of the version is the major number: from 3 on the library is of the instance generation.
int32_t ZUB_GetVersion(uint32_t* version);
int32_t ZUB_DoFWUpdate();
int32_t ZUB_GetOTPSStatus();  ///< The plug-in never calls it.

// Applets. Where the library lacks the first of two, the second takes its place.
int32_t ZUB_GetCapabilities(const char* name, int32_t selector, uint16_t* length, uint8_t* buffer);
int32_t ZUB_GetOTPCapabilities(const char* name, int32_t selector, uint16_t* length, uint8_t* buffer);
/// `path` names the applet's file, with backslashes on every system, and ends with a zero.
int32_t ZUB_Install(const char* name, const WCHAR* path);
int32_t ZUB_InstallOTPS(const char* name, const WCHAR* path);
int32_t ZUB_Uninstall(const char* name);
int32_t ZUB_UninstallOTPS(const char* name);

// Provisioning. A handle comes from the start and goes back as a signed number of the same bits.
int32_t ZUB_StartProvisioning(const char* name, uint32_t* sessionHandle);
int32_t ZUB3_StartProvisioning(uint32_t instanceId, uint32_t* sessionHandle);
/// Fills the buffer with the new token, encrypted.
int32_t ZUB_EndProvisioning(const char* name, int32_t sessionHandle, uint16_t* length, uint8_t* buffer);
int32_t ZUB3_EndProvisioning(uint32_t instanceId, int32_t sessionHandle, uint16_t* length, uint8_t* buffer);
int32_t ZUB_SendData(const char* name, int32_t sessionHandle, int32_t dataType, int32_t length, const uint8_t* data);
int32_t ZUB3_SendData(uint32_t instanceId, int32_t sessionHandle, int32_t dataType, int32_t length,
                      const uint8_t* data);
int32_t ZUB_ReceiveData(const char* name, int32_t sessionHandle, int32_t dataType, uint16_t* length, uint8_t* buffer);
int32_t ZUB3_ReceiveData(uint32_t instanceId, int32_t sessionHandle, int32_t dataType, uint16_t* length,
                         uint8_t* buffer);
int32_t ZUB_SendAndReceiveData(const char* name, int32_t sessionHandle, int32_t dataType, int32_t sendLength,
                               const uint8_t* sendData, uint16_t* length, uint8_t* buffer);
int32_t ZUB3_SendAndReceiveData(uint32_t instanceId, int32_t sessionHandle, int32_t dataType, int32_t sendLength,
                                const uint8_t* sendData, uint16_t* length, uint8_t* buffer);
int32_t ZUB_ProcessSVPMessage(const char* name, int32_t sessionHandle, int32_t length, const uint8_t* data);
int32_t ZUB_GetSVPMessage(const char* name, int32_t sessionHandle, uint16_t* length, uint8_t* buffer);

// One-time passwords. The token is encrypted; so is the second output, a new token, of length 0 where there is none.
int32_t ZUB_GetOTP(const char* name, int32_t otpSelector, int32_t tokenLength, const uint8_t* token,
                   int32_t extraLength, const uint8_t* extra, uint16_t* otpLength, uint8_t* otpBuffer,
                   uint16_t* newTokenLength, uint8_t* newTokenBuffer);
int32_t ZUB3_GetOTP(uint32_t instanceId, int32_t otpSelector, int32_t tokenLength, const uint8_t* token,
                    int32_t extraLength, const uint8_t* extra, uint16_t* otpLength, uint8_t* otpBuffer,
                    uint16_t* newTokenLength, uint8_t* newTokenBuffer);

// Events.
int32_t ZUB_RegisterEventCb(const char* name, AgentEventCallback callback);
int32_t ZUB_UnregisterEventCb(const char* name);
/// Without a callback (null) the instance reports no events. `context` comes back in each of them.
int32_t ZUB3_StartInstance(const char* name, InstanceEventCallback callback, void* context, uint32_t* instanceId);
int32_t ZUB3_StopInstance(uint32_t instanceId);

}  // extern "C"
