/// How a test drives the stand-in for the display library: every entry point shows its call as a text, hands what it
/// was given to one function of the test, and gives the status that this one leaves.
#pragma once

#include "vendor/ksvwys.h"

extern "C" {

/// One call as it reached the library. The pointers are the caller's own and end with the call; null where the entry
/// has none of the kind.
struct DisplayCall {
  const char* entry;  ///< The entry point's name.
  const char* shown;  ///< The call with its arguments.
  uint32_t* value;    ///< Context, session or version.
  uint8_t* bytes;     ///< The descriptor, or a buffer to fill.
  uint32_t size;      ///< Of the descriptor, or the room in the buffer.
  uint32_t* length;   ///< Of a buffer: how much was put in.
  WCHAR* text;        ///< `size` characters to fill.
  DisplayEventEntry callback;
  void* context;
  int32_t status;  ///< The answer, 0 unless told otherwise.
};

/// Shared by the library and the test.
struct DisplayStubControl {
  void (*answer)(void* context, DisplayCall* call);  ///< Null: every call succeeds and gives nothing.
  void* context;
};

DisplayStubControl* DisplayStub_Control();

}  // extern "C"
