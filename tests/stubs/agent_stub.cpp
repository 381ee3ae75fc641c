// Which names a variant exports is said by its compile definitions; all else is the test's to tell.
#include "tests/stubs/agent_stub.h"

namespace {

AgentStubControl control;

class StubCall {
 public:
  explicit StubCall(const char* entry) { call.entry = entry; }
  StubCall(const char* entry, const char* name) : StubCall(entry) {
    call.hasTarget = true;
    call.name = name;
  }
  StubCall(const char* entry, uint32_t instance) : StubCall(entry) {
    call.hasTarget = call.byInstance = true;
    call.instance = instance;
  }

  StubCall& Number(int32_t number) {
    call.numbers[call.numberCount++] = number;
    return *this;
  }
  StubCall& In(int32_t length, const uint8_t* bytes) {
    call.inputLength[call.inputCount] = length;
    call.input[call.inputCount++] = bytes;
    return *this;
  }
  StubCall& Out(uint16_t* length, uint8_t* bytes) {
    call.outputLength[call.outputCount] = length;
    call.output[call.outputCount++] = bytes;
    return *this;
  }
  StubCall& Value(uint32_t* value) {
    call.value = value;
    return *this;
  }
  StubCall& Callback(AgentEventCallback callback) {
    call.appletCallback = callback;
    return *this;
  }
  StubCall& Callback(InstanceEventCallback callback, void* context) {
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
    return StubCall(__func__, target).Value(session).Answer();                                                        \
  }                                                                                                                   \
  int32_t generation##_EndProvisioning(Target target, int32_t session, uint16_t* length, uint8_t* buffer) {           \
    return StubCall(__func__, target).Number(session).Out(length, buffer).Answer();                                   \
  }                                                                                                                   \
  int32_t generation##_SendData(Target target, int32_t session, int32_t type, int32_t length, const uint8_t* data) {  \
    return StubCall(__func__, target).Number(session).Number(type).In(length, data).Answer();                         \
  }                                                                                                                   \
  int32_t generation##_ReceiveData(Target target, int32_t session, int32_t type, uint16_t* length, uint8_t* buffer) { \
    return StubCall(__func__, target).Number(session).Number(type).Out(length, buffer).Answer();                      \
  }                                                                                                                   \
  int32_t generation##_SendAndReceiveData(Target target, int32_t session, int32_t type, int32_t sent,                 \
                                          const uint8_t* data, uint16_t* length, uint8_t* buffer) {                   \
    return StubCall(__func__, target).Number(session).Number(type).In(sent, data).Out(length, buffer).Answer();       \
  }                                                                                                                   \
  int32_t generation##_GetOTP(Target target, int32_t selector, int32_t tokenLength, const uint8_t* token,             \
                              int32_t extraLength, const uint8_t* extra, uint16_t* otpLength, uint8_t* otp,           \
                              uint16_t* newLength, uint8_t* newToken) {                                               \
    return StubCall(__func__, target)                                                                                 \
        .Number(selector)                                                                                             \
        .In(tokenLength, token)                                                                                       \
        .In(extraLength, extra)                                                                                       \
        .Out(otpLength, otp)                                                                                          \
        .Out(newLength, newToken)                                                                                     \
        .Answer();                                                                                                    \
  }

// The wide path is handed on as bytes, its terminator not counted.
#define APPLET_ENTRIES(capabilities, install, uninstall)                                            \
  int32_t capabilities(const char* name, int32_t selector, uint16_t* length, uint8_t* buffer) {     \
    return StubCall(__func__, name).Number(selector).Out(length, buffer).Answer();                  \
  }                                                                                                 \
  int32_t install(const char* name, const WCHAR* path) {                                            \
    int32_t units = 0;                                                                              \
    while (path && path[units]) ++units;                                                            \
    return StubCall(__func__, name).In(units * 2, reinterpret_cast<const uint8_t*>(path)).Answer(); \
  }                                                                                                 \
  int32_t uninstall(const char* name) {                                                             \
    return StubCall(__func__, name).Answer();                                                       \
  }

extern "C" {

AgentStubControl* AgentStub_Control() {
  return &control;
}

#ifdef STUB_VERSION
int32_t ZUB_GetVersion(uint32_t* version) {
  return StubCall(__func__).Value(version).Answer();
}
#endif

#ifdef STUB_FIRST_GENERATION
int32_t ZUB_Init() {
  return StubCall(__func__).Answer();
}
int32_t ZUB_DeInit() {
  return StubCall(__func__).Answer();
}
WORK_ENTRIES(ZUB, const char*)
APPLET_ENTRIES(ZUB_GetCapabilities, ZUB_Install, ZUB_Uninstall)
int32_t ZUB_ProcessSVPMessage(const char* name, int32_t session, int32_t length, const uint8_t* data) {
  return StubCall(__func__, name).Number(session).In(length, data).Answer();
}
int32_t ZUB_GetSVPMessage(const char* name, int32_t session, uint16_t* length, uint8_t* buffer) {
  return StubCall(__func__, name).Number(session).Out(length, buffer).Answer();
}
int32_t ZUB_DoFWUpdate() {
  return StubCall(__func__).Answer();
}
int32_t ZUB_RegisterEventCb(const char* name, AgentEventCallback callback) {
  return StubCall(__func__, name).Callback(callback).Answer();
}
int32_t ZUB_UnregisterEventCb(const char* name) {
  return StubCall(__func__, name).Answer();
}
#endif

#ifdef STUB_INSTANCES
int32_t ZUB3_StartInstance(const char* name, InstanceEventCallback callback, void* context, uint32_t* instance) {
  return StubCall(__func__, name).Callback(callback, context).Value(instance).Answer();
}
int32_t ZUB3_StopInstance(uint32_t instance) {
  return StubCall(__func__, instance).Answer();
}
#endif

#ifdef STUB_INSTANCE_WORK
WORK_ENTRIES(ZUB3, uint32_t)
#endif

#ifdef STUB_OTPS
int32_t ZUB_GetOTPSStatus() {
  return StubCall(__func__).Answer();
}
APPLET_ENTRIES(ZUB_GetOTPCapabilities, ZUB_InstallOTPS, ZUB_UninstallOTPS)
#endif

}  // extern "C"
