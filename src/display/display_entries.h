#pragma once

#include "library/entry_table.h"
#include "vendor/ksvwys.h"

namespace NorvoWebAPI::KSV {

/// The display library's entry points, bound at run time.
struct DisplayEntries : EntryTable {
  KSV_ENTRY(Init, WYSInit);
  KSV_ENTRY(DeInit, WYSDeInit);
  KSV_ENTRY(EstablishSession, WYSEstablishSession);
  KSV_ENTRY(CloseSession, WYSCloseSession);
  KSV_ENTRY(CreateStdImage, WYSCreateStdImage);
  KSV_ENTRY(MouseDown, WYSMouseDown);
  KSV_ENTRY(MouseUp, WYSMouseUp);
  KSV_ENTRY(SubmitInput, WYSSubmitInput);
  KSV_ENTRY(SubmitInputAndGetResponse, WYSSubmitInputAndGetResponse);
  KSV_ENTRY(ReleaseImage, WYSReleaseImage);
  KSV_ENTRY(ClearInput, WYSClearInput);
  KSV_ENTRY(SetStreamKey, WYSSetStreamKey);
  KSV_ENTRY(SubmitFrame, WYSSubmitFrame);
  KSV_ENTRY(SendRecv, WYSSendRecv);
  KSV_ENTRY(RepaintImage, WYSRepaintImage);
  KSV_ENTRY(GetVersion, WYSGetVersion);
  KSV_ENTRY(StatusToString, WYSStatusToString);
  KSV_ENTRY(RegisterEvents, WYSRegisterEvents);
};

}  // namespace NorvoWebAPI::KSV
