// Which names a variant exports is said by its compile definitions; all else is the test's to tell.
#include "tests/stubs/agent_stub.h"

#include "platform/win32.h"

namespace {

AgentStubControl control;

class Told {
 public:
  explicit Told(const char* entry) { call.entry = entry; }
  Told(const char* entry, const char* name) : Told(entry) {
    call.hasTarget = true;
    call.name = name;
  }
  Told(const char* entry, uint32_t instance) : Told(entry) {
    call.hasTarget = call.byInstance = true;
    call.instance = instance;
  }

  Told& Number(int32_t number) {
    call.numbers[call.numberCount++] = number;
    return *this;
  }
  Told& In(int32_t length, const uint8_t* bytes) {
    call.inputLength[call.inputCount] = length;
    call.input[call.inputCount++] = bytes;
    return *this;
  }
  Told& Out(uint16_t* length, uint8_t* bytes) {
    call.outputLength[call.outputCount] = length;
    call.output[call.outputCount++] = bytes;
    return *this;
  }
  Told& Value(uint32_t* value) {
    call.value = value;
    return *this;
  }
  Told& Callback(StubAppletCallback callback) {
    call.appletCallback = callback;
    return *this;
  }
  Told& Callback(StubInstanceCallback callback, void* context) {
    call.instanceCallback = callback;
    call.context = context;
    return *this;
  }
  int32_t Answer() {
    if (control.answer) control.answer(control.context, &call);
    return call.status;
  }

 private:
  AgentCall call{};
};

}  // namespace

#define WORK_ENTRIES(generation, Target)                                                                              \
  int32_t generation##_StartProvisioning(Target target, uint32_t* session) {                                          \
    return Told(#generation "_StartProvisioning", target).Value(session).Answer();                                    \
  }                                                                                                                   \
  int32_t generation##_EndProvisioning(Target target, int32_t session, uint16_t* length, uint8_t* buffer) {           \
    return Told(#generation "_EndProvisioning", target).Number(session).Out(length, buffer).Answer();                 \
  }                                                                                                                   \
  int32_t generation##_SendData(Target target, int32_t session, int32_t type, int32_t length, const uint8_t* data) {  \
    return Told(#generation "_SendData", target).Number(session).Number(type).In(length, data).Answer();              \
  }                                                                                                                   \
  int32_t generation##_ReceiveData(Target target, int32_t session, int32_t type, uint16_t* length, uint8_t* buffer) { \
    return Told(#generation "_ReceiveData", target).Number(session).Number(type).Out(length, buffer).Answer();        \
  }                                                                                                                   \
  int32_t generation##_SendAndReceiveData(Target target, int32_t session, int32_t type, int32_t sent,                 \
                                          const uint8_t* data, uint16_t* length, uint8_t* buffer) {                   \
    return Told(#generation "_SendAndReceiveData", target)                                                            \
        .Number(session)                                                                                              \
        .Number(type)                                                                                                 \
        .In(sent, data)                                                                                               \
        .Out(length, buffer)                                                                                          \
        .Answer();                                                                                                    \
  }                                                                                                                   \
  int32_t generation##_GetOTP(Target target, int32_t selector, int32_t tokenLength, const uint8_t* token,             \
                              int32_t extraLength, const uint8_t* extra, uint16_t* otpLength, uint8_t* otp,           \
                              uint16_t* newLength, uint8_t* newToken) {                                               \
    return Told(#generation "_GetOTP", target)                                                                        \
        .Number(selector)                                                                                             \
        .In(tokenLength, token)                                                                                       \
        .In(extraLength, extra)                                                                                       \
        .Out(otpLength, otp)                                                                                          \
        .Out(newLength, newToken)                                                                                     \
        .Answer();                                                                                                    \
  }

// The wide path is handed on as bytes, its terminator not counted.
#define APPLET_ENTRIES(capabilities, install, uninstall)                                        \
  int32_t capabilities(const char* name, int32_t selector, uint16_t* length, uint8_t* buffer) { \
    return Told(#capabilities, name).Number(selector).Out(length, buffer).Answer();             \
  }                                                                                             \
  int32_t install(const char* name, const WCHAR* path) {                                        \
    int32_t units = 0;                                                                          \
    while (path && path[units]) ++units;                                                        \
    return Told(#install, name).In(units * 2, reinterpret_cast<const uint8_t*>(path)).Answer(); \
  }                                                                                             \
  int32_t uninstall(const char* name) {                                                         \
    return Told(#uninstall, name).Answer();                                                     \
  }

extern "C" {

AgentStubControl* AgentStub_Control() {
  return &control;
}

#ifdef STUB_VERSION
int32_t ZUB_GetVersion(uint32_t* version) {
  return Told("ZUB_GetVersion").Value(version).Answer();
}
#endif

#ifdef STUB_FIRST_GENERATION
int32_t ZUB_Init() {
  return Told("ZUB_Init").Answer();
}
int32_t ZUB_DeInit() {
  return Told("ZUB_DeInit").Answer();
}
WORK_ENTRIES(ZUB, const char*)
APPLET_ENTRIES(ZUB_GetCapabilities, ZUB_Install, ZUB_Uninstall)
int32_t ZUB_ProcessSVPMessage(const char* name, int32_t session, int32_t length, const uint8_t* data) {
  return Told("ZUB_ProcessSVPMessage", name).Number(session).In(length, data).Answer();
}
int32_t ZUB_GetSVPMessage(const char* name, int32_t session, uint16_t* length, uint8_t* buffer) {
  return Told("ZUB_GetSVPMessage", name).Number(session).Out(length, buffer).Answer();
}
int32_t ZUB_DoFWUpdate() {
  return Told("ZUB_DoFWUpdate").Answer();
}
int32_t ZUB_RegisterEventCb(const char* name, StubAppletCallback callback) {
  return Told("ZUB_RegisterEventCb", name).Callback(callback).Answer();
}
int32_t ZUB_UnregisterEventCb(const char* name) {
  return Told("ZUB_UnregisterEventCb", name).Answer();
}
#endif

#ifdef STUB_INSTANCES
int32_t ZUB3_StartInstance(const char* name, StubInstanceCallback callback, void* context, uint32_t* instance) {
  return Told("ZUB3_StartInstance", name).Callback(callback, context).Value(instance).Answer();
}
int32_t ZUB3_StopInstance(uint32_t instance) {
  return Told("ZUB3_StopInstance", instance).Answer();
}
#endif

#ifdef STUB_INSTANCE_WORK
WORK_ENTRIES(ZUB3, uint32_t)
#endif

#ifdef STUB_OTPS
int32_t ZUB_GetOTPSStatus() {
  return Told("ZUB_GetOTPSStatus").Answer();
}
APPLET_ENTRIES(ZUB_GetOTPCapabilities, ZUB_InstallOTPS, ZUB_UninstallOTPS)
#endif

}  // extern "C"
