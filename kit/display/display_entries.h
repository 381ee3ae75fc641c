#pragma once

#include "kit/display/display.h"

/// The entry points of the display, plain C, found by undecorated name. README.md tells what each does,
/// display_status.h what each answers. Pointers must be given where nothing else is said.
///
/// Lengths that go out are stored through `uint32_t*`: the buffer's capacity on the way in, what was stored or is
/// needed on the way back; a null buffer counts as one of no bytes. May be called on any thread.
extern "C" {

/// `caption` may be null.
uint32_t WYSInit(int32_t initValue, const char* caption, uint32_t* context);
uint32_t WYSDeInit(uint32_t context);
uint32_t WYSEstablishSession(const KsvDisplay::SessionRequest* request, uint32_t* sessionId);
uint32_t WYSCloseSession(uint32_t sessionId);

/// The image's id and size are written back into the descriptor, which is not kept. The last two must be 0.
uint32_t WYSCreateStdImage(uint32_t sessionId, const KsvDisplay::Point* origin, uint8_t* descriptor,
                           uint32_t descriptorLength, uint32_t reserved1, uint32_t reserved2);
uint32_t WYSMouseDown(uint32_t sessionId, uint32_t imageId, const KsvDisplay::Point* point);
uint32_t WYSMouseUp(uint32_t sessionId, uint32_t imageId, const KsvDisplay::Point* point);
/// `length` counts the bytes of the text's narrow form and is the most units that are read of `text`, which ends with a
/// zero unit. 0 and null where the image takes no text.
uint32_t WYSSubmitInput(uint32_t sessionId, uint32_t imageId, uint32_t length, const KsvKit::WideChar* text);
uint32_t WYSSubmitInputAndGetResponse(uint32_t sessionId, uint32_t imageId, uint32_t* length, uint8_t* buffer);
uint32_t WYSReleaseImage(uint32_t sessionId, uint32_t imageId);
uint32_t WYSClearInput(uint32_t sessionId, uint32_t imageId);

uint32_t WYSSetStreamKey(uint32_t sessionId, uint32_t length, const uint8_t* key);
uint32_t WYSSubmitFrame(uint32_t sessionId, uint32_t imageId, const KsvDisplay::Point* point, uint32_t length,
                        const uint8_t* frame);
/// `send` may be null with a length of 0.
uint32_t WYSSendRecv(uint32_t context, uint32_t sessionId, int32_t messageType, uint32_t sendLength,
                     const uint8_t* send, uint32_t* receiveLength, uint8_t* receive, int32_t flag);
uint32_t WYSRepaintImage(uint32_t sessionId, uint32_t imageId);

/// Major number in the upper half, minor number in the lower.
uint32_t WYSGetVersion(uint32_t* version);
/// `capacity` counts units, the zero unit at the end among them.
uint32_t WYSStatusToString(KsvKit::WideChar* buffer, uint32_t capacity, uint32_t statusCode);
/// A null callback withdraws the registration; the mask may then be null.
uint32_t WYSRegisterEvents(uint32_t sessionId, const uint32_t* eventMask, KsvDisplay::EventCallback callback,
                           void* context);

}  // extern "C"
