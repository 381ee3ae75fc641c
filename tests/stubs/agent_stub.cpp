// Which names a variant exports is said by its compile definitions; all else is the test's to tell.
#include "tests/stubs/agent_stub.h"

namespace {

AgentStubControl control;

class StubCall {
 public:
  explicit StubCall(const char* entry) { call.entry = entry; }

  StubCall& On(const char* name) { return call.hasTarget = true, call.name = name, *this; }
  StubCall& On(uint32_t instance) {
    call.hasTarget = call.byInstance = true;
    return call.instance = instance, *this;
  }
  StubCall& Number(int32_t number) { return call.numbers[call.numberCount++] = number, *this; }
  StubCall& In(int32_t length, const uint8_t* bytes) {
    call.inputLength[call.inputCount] = length;
    call.input[call.inputCount++] = bytes;
    return *this;
  }
  // A wide path is handed on as bytes, its terminator not counted.
  StubCall& In(const WCHAR* path) {
    int32_t units = 0;
    while (path && path[units]) ++units;
    return In(units * 2, reinterpret_cast<const uint8_t*>(path));
  }
  StubCall& Out(uint16_t* length, uint8_t* bytes) {
    call.outputLength[call.outputCount] = length;
    call.output[call.outputCount++] = bytes;
    return *this;
  }
  StubCall& Value(uint32_t* value) { return call.value = value, *this; }
  StubCall& Callback(AgentEventCallback callback) { return call.appletCallback = callback, *this; }
  StubCall& Callback(InstanceEventCallback callback, void* context) {
    return call.instanceCallback = callback, call.context = context, *this;
  }
  int32_t Answer() {
    if (control.answer) control.answer(control.context, &call);
    return call.status;
  }

 private:
  AgentCall call{};
};

}  // namespace

// An entry point: its name, its parameters, and how its call is described.
#define ENTRY(name, parameters, ...)                           \
  int32_t name parameters {                                    \
    return StubCall(#name) __VA_OPT__(.) __VA_ARGS__.Answer(); \
  }

#define WORK_ENTRIES(generation, Type)                                                                              \
  ENTRY(generation##_StartProvisioning, (Type target, uint32_t * session), On(target).Value(session))               \
  ENTRY(generation##_EndProvisioning, (Type target, int32_t session, uint16_t * length, uint8_t * bytes),           \
        On(target).Number(session).Out(length, bytes))                                                              \
  ENTRY(generation##_SendData, (Type target, int32_t session, int32_t type, int32_t length, const uint8_t* bytes),  \
        On(target).Number(session).Number(type).In(length, bytes))                                                  \
  ENTRY(generation##_ReceiveData, (Type target, int32_t session, int32_t type, uint16_t * length, uint8_t * bytes), \
        On(target).Number(session).Number(type).Out(length, bytes))                                                 \
  ENTRY(generation##_SendAndReceiveData,                                                                            \
        (Type target, int32_t session, int32_t type, int32_t sent, const uint8_t* data, uint16_t* length,           \
         uint8_t* bytes),                                                                                           \
        On(target).Number(session).Number(type).In(sent, data).Out(length, bytes))                                  \
  ENTRY(generation##_GetOTP,                                                                                        \
        (Type target, int32_t selector, int32_t tokenLength, const uint8_t* token, int32_t extraLength,             \
         const uint8_t* extra, uint16_t* otpLength, uint8_t* otp, uint16_t* newLength, uint8_t* newToken),          \
        On(target)                                                                                                  \
            .Number(selector)                                                                                       \
            .In(tokenLength, token)                                                                                 \
            .In(extraLength, extra)                                                                                 \
            .Out(otpLength, otp)                                                                                    \
            .Out(newLength, newToken))

#define APPLET_ENTRIES(capabilities, install, uninstall)                                      \
  ENTRY(capabilities, (const char* name, int32_t selector, uint16_t* length, uint8_t* bytes), \
        On(name).Number(selector).Out(length, bytes))                                         \
  ENTRY(install, (const char* name, const WCHAR* path), On(name).In(path))                    \
  ENTRY(uninstall, (const char* name), On(name))

extern "C" {

AgentStubControl* AgentStub_Control() {
  return &control;
}

#ifdef STUB_VERSION
ENTRY(ZUB_GetVersion, (uint32_t * version), Value(version))
#endif

#ifdef STUB_DEINIT
ENTRY(ZUB_DeInit, ())
#endif

#ifdef STUB_FIRST_GENERATION
ENTRY(ZUB_Init, ())
WORK_ENTRIES(ZUB, const char*)
APPLET_ENTRIES(ZUB_GetCapabilities, ZUB_Install, ZUB_Uninstall)
ENTRY(ZUB_ProcessSVPMessage, (const char* name, int32_t session, int32_t length, const uint8_t* bytes),
      On(name).Number(session).In(length, bytes))
ENTRY(ZUB_GetSVPMessage, (const char* name, int32_t session, uint16_t* length, uint8_t* bytes),
      On(name).Number(session).Out(length, bytes))
ENTRY(ZUB_DoFWUpdate, ())
ENTRY(ZUB_RegisterEventCb, (const char* name, AgentEventCallback callback), On(name).Callback(callback))
ENTRY(ZUB_UnregisterEventCb, (const char* name), On(name))
#endif

#ifdef STUB_INSTANCES
ENTRY(ZUB3_StartInstance, (const char* name, InstanceEventCallback callback, void* context, uint32_t* instance),
      On(name).Callback(callback, context).Value(instance))
ENTRY(ZUB3_StopInstance, (uint32_t instance), On(instance))
#endif

#ifdef STUB_INSTANCE_WORK
WORK_ENTRIES(ZUB3, uint32_t)
#endif

#ifdef STUB_OTPS
ENTRY(ZUB_GetOTPSStatus, ())
APPLET_ENTRIES(ZUB_GetOTPCapabilities, ZUB_InstallOTPS, ZUB_UninstallOTPS)
#endif

}  // extern "C"
