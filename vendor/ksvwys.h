/// The contract of the vendor's display library, which is found at run time and never linked against. Whoever calls the
/// library takes the signatures from here, and whoever stands in for it defines these very functions.
///
/// Rules for all entry points:
/// - Plain C functions, exported undecorated. All are required: a library that lacks one counts as absent.
/// - The result is the library's status: `DisplayStatus` or a number of the library's own.
/// - All memory belongs to the caller, and the library may use it during the call only. It keeps a callback and its
///   context until the registration ends.
/// - Contexts, sessions and images are opaque numbers.
/// - Inputs have a length in bytes and may be null when that is 0.
/// - A `uint32_t*` length counts the bytes of the buffer behind it: on the way in the capacity, on the way back what
///   was stored or is required. The buffer may be null for a capacity of 0.
/// - The plug-in calls from the browser's thread. The library may run callbacks on threads of its own.
#pragma once

#include <cstdint>

#include "platform/wide_text.h"

/// The library's file name.
inline constexpr const WCHAR* kDisplayFiles[] = {KSV_WIDE("ksvWys.dll")};

extern "C" {

/// The statuses that mean something outside the library.
enum DisplayStatus : int32_t {
  kDisplayOk = 0,
  kDisplayNotCalled = 34,  ///< Not the library's: pages read it for a call that did not reach the library.
  kSessionStands = 42,     ///< The window has a session already; its id was given.
};

/// A position or a size in pixels. Positions count from the upper left corner.
struct WysPoint {
  uint16_t x = 0;
  uint16_t y = 0;
};

/// What a session is asked for with.
struct WysSessionRequest {
  uint32_t window = 0;           ///< The window handle's low 32 bits.
  uint32_t windowKind = 0xFFFF;  ///< The same for every window of the plug-in.
  uint32_t displayContext = 0;
};

/// The library's report of an event.
struct DisplayEventRecord {
  uint32_t eventBits;    ///< The plug-in takes bits 0 and 1.
  uint32_t reserved[2];  ///< The library's own.
  uint32_t eventStatus;  ///< The plug-in takes events of status 0 and 36.
  uint32_t context;      ///< The low 32 bits of what the events were registered with: the window handle.
};

static_assert(sizeof(WysPoint) == 4 && sizeof(WysSessionRequest) == 12 && sizeof(DisplayEventRecord) == 20,
              "The library reads and writes these as they lie in memory");

/// Takes an event; the record ends with the call. Gives 1 when it accepts the record, else 0.
using DisplayEventEntry = uint32_t (*)(DisplayEventRecord* record);

/// `initText` may be null.
int32_t WYSInit(int32_t initValue, const char* initText, uint32_t* displayContext);
int32_t WYSDeInit(uint32_t displayContext);
int32_t WYSGetVersion(uint32_t* version);
/// `capacity` counts the characters that `text` has room for, with the zero at the end.
int32_t WYSStatusToString(WCHAR* text, uint32_t capacity, uint32_t statusCode);

int32_t WYSEstablishSession(const WysSessionRequest* request, uint32_t* sessionId);
int32_t WYSCloseSession(uint32_t sessionId);
/// Without a callback (null) the registration is withdrawn. `context` comes back in each record.
int32_t WYSRegisterEvents(uint32_t sessionId, const uint32_t* eventMask, DisplayEventEntry callback, void* context);

/// The descriptor is 50 packed little-endian bytes and the logo's pixels. The library may read it and change the
/// image's id and size in it, both during the call only. The last two are 0.
int32_t WYSCreateStdImage(uint32_t sessionId, const WysPoint* origin, uint8_t* descriptor, uint32_t descriptorLength,
                          int32_t reserved1, int32_t reserved2);
int32_t WYSSubmitFrame(uint32_t sessionId, uint32_t imageId, const WysPoint* point, uint32_t length,
                       const uint8_t* frame);
int32_t WYSRepaintImage(uint32_t sessionId, uint32_t imageId);
int32_t WYSReleaseImage(uint32_t sessionId, uint32_t imageId);

int32_t WYSMouseDown(uint32_t sessionId, uint32_t imageId, const WysPoint* point);
int32_t WYSMouseUp(uint32_t sessionId, uint32_t imageId, const WysPoint* point);
/// `length` counts the bytes that the text had before it was made wide; the text ends with a zero. 0 and null where the
/// image takes no text.
int32_t WYSSubmitInput(uint32_t sessionId, uint32_t imageId, uint32_t length, const WCHAR* text);
/// The plug-in asks for the required length first, by a length of 0 and no buffer. Any status may come with it.
int32_t WYSSubmitInputAndGetResponse(uint32_t sessionId, uint32_t imageId, uint32_t* length, uint8_t* buffer);
int32_t WYSClearInput(uint32_t sessionId, uint32_t imageId);

int32_t WYSSetStreamKey(uint32_t sessionId, uint32_t length, const uint8_t* key);
int32_t WYSSendRecv(uint32_t displayContext, uint32_t sessionId, int32_t messageType, uint32_t sendLength,
                    const uint8_t* send, uint32_t* receiveLength, uint8_t* receive, int32_t flag);

}  // extern "C"
