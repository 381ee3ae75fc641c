/// How a test drives the stand-in for the host-agent library: every entry point describes its call and hands it to one
/// function of the test, which answers it.
#pragma once

#include "vendor/zub.h"

extern "C" {

/// One call as it reached the library. The pointers are the caller's own and end with the call.
struct AgentCall {
  const char* entry;  ///< The entry point's name.
  bool hasTarget;     ///< The call names an applet or an instance.
  bool byInstance;    ///< Which of the two.
  const char* name;   ///< The applet; may be null.
  uint32_t instance;
  int32_t numbers[2];  ///< Session and data type, or the selector; as many as the entry takes.
  int32_t numberCount;
  const uint8_t* input[2];
  int32_t inputLength[2];
  int32_t inputCount;
  uint8_t* output[2];
  uint16_t* outputLength[2];  ///< The capacity on entry.
  int32_t outputCount;
  uint32_t* value;                         ///< Session handle, version or instance id, where the entry gives one.
  AgentEventCallback appletCallback;       ///< What a registration was given.
  InstanceEventCallback instanceCallback;  ///< What an instance's start was given, with its context.
  void* context;
  int32_t status;  ///< The answer, 0 unless told otherwise.
};

/// Shared by the library and the test.
struct AgentStubControl {
  void (*answer)(void* context, AgentCall* call);  ///< Null: every call succeeds and gives nothing.
  void* context;
};

AgentStubControl* AgentStub_Control();

}  // extern "C"
