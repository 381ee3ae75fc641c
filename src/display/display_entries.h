#pragma once

#include <cstdint>

#include "library/entry_table.h"

namespace NorvoWebAPI::KSV {

/// A point or a size, as the library takes it.
struct WysPoint {
  uint16_t x = 0;
  uint16_t y = 0;
};

/// What a session is asked for with. The second word has this value for every plug-in window.
struct WysSessionRequest {
  uint32_t window = 0;
  uint32_t windowKind = 0xFFFF;
  uint32_t displayContext = 0;
};

/// The library's report of an event. Its words 1 and 2 are the library's own.
struct DisplayEventRecord {
  uint32_t eventBits;
  uint32_t reserved[2];
  uint32_t eventStatus;
  uint32_t context;  ///< The window handle that the events were registered with.
};

static_assert(sizeof(WysPoint) == 4 && sizeof(WysSessionRequest) == 12 && sizeof(DisplayEventRecord) == 20,
              "The library reads and writes these as they lie");

/// Takes an event on any thread of the library's. Gives 1 when it accepts the record, else 0.
using DisplayEventEntry = uint32_t (*)(DisplayEventRecord* record);

inline constexpr const WCHAR* kDisplayFiles[] = {KSV_WIDE("ksvWys.dll")};

/// The display library's entry points; all are required. Contexts, sessions and images are opaque numbers. All give the
/// library's status.
struct DisplayEntries : EntryTable {
  using Status = int32_t;

  Entry<Status(int32_t initValue, const char* initText, uint32_t* displayContext)> Init{*this, "WYSInit"};
  Entry<Status(uint32_t displayContext)> DeInit{*this, "WYSDeInit"};
  Entry<Status(const WysSessionRequest* request, uint32_t* session)> EstablishSession{*this, "WYSEstablishSession"};
  Entry<Status(uint32_t session)> CloseSession{*this, "WYSCloseSession"};
  Entry<Status(uint32_t session, const WysPoint* origin, uint8_t* descriptor, uint32_t descriptorLength, int32_t zero,
               int32_t alsoZero)>
      CreateStdImage{*this, "WYSCreateStdImage"};
  Entry<Status(uint32_t session, uint32_t image, const WysPoint* point)> MouseDown{*this, "WYSMouseDown"};
  Entry<Status(uint32_t session, uint32_t image, const WysPoint* point)> MouseUp{*this, "WYSMouseUp"};
  Entry<Status(uint32_t session, uint32_t image, uint32_t length, const WCHAR* text)> SubmitInput{*this,
                                                                                                  "WYSSubmitInput"};
  Entry<Status(uint32_t session, uint32_t image, uint32_t* length, uint8_t* buffer)> SubmitInputAndGetResponse{
      *this, "WYSSubmitInputAndGetResponse"};
  Entry<Status(uint32_t session, uint32_t image)> ReleaseImage{*this, "WYSReleaseImage"};
  Entry<Status(uint32_t session, uint32_t image)> ClearInput{*this, "WYSClearInput"};
  Entry<Status(uint32_t session, uint32_t length, const uint8_t* key)> SetStreamKey{*this, "WYSSetStreamKey"};
  Entry<Status(uint32_t session, uint32_t image, const WysPoint* point, uint32_t length, const uint8_t* frame)>
      SubmitFrame{*this, "WYSSubmitFrame"};
  Entry<Status(uint32_t displayContext, uint32_t session, int32_t messageType, uint32_t sendLength, const uint8_t* send,
               uint32_t* receiveLength, uint8_t* receive, int32_t flag)>
      SendRecv{*this, "WYSSendRecv"};
  Entry<Status(uint32_t session, uint32_t image)> RepaintImage{*this, "WYSRepaintImage"};
  Entry<Status(uint32_t* version)> GetVersion{*this, "WYSGetVersion"};
  /// The capacity counts characters.
  Entry<Status(WCHAR* text, uint32_t capacity, uint32_t statusCode)> StatusToString{*this, "WYSStatusToString"};
  /// Without a callback the registration is withdrawn. The context comes back in each record.
  Entry<Status(uint32_t session, const uint32_t* eventMask, DisplayEventEntry callback, void* context)> RegisterEvents{
      *this, "WYSRegisterEvents"};
};

}  // namespace NorvoWebAPI::KSV
