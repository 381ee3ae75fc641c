// A display library that does nothing: what is measured around it is the plug-in.
#include "vendor/ksvwys.h"

extern "C" {

int32_t WYSInit(int32_t, const char*, uint32_t*) {
  return 0;
}
int32_t WYSDeInit(uint32_t) {
  return 0;
}
int32_t WYSEstablishSession(const WysSessionRequest*, uint32_t*) {
  return 0;
}
int32_t WYSCloseSession(uint32_t) {
  return 0;
}
int32_t WYSCreateStdImage(uint32_t, const WysPoint*, uint8_t*, uint32_t, int32_t, int32_t) {
  return 0;
}
int32_t WYSMouseDown(uint32_t, uint32_t, const WysPoint*) {
  return 0;
}
int32_t WYSMouseUp(uint32_t, uint32_t, const WysPoint*) {
  return 0;
}
int32_t WYSSubmitInput(uint32_t, uint32_t, uint32_t, const WCHAR*) {
  return 0;
}
int32_t WYSSubmitInputAndGetResponse(uint32_t, uint32_t, uint32_t*, uint8_t*) {
  return 0;
}
int32_t WYSReleaseImage(uint32_t, uint32_t) {
  return 0;
}
int32_t WYSClearInput(uint32_t, uint32_t) {
  return 0;
}
int32_t WYSSetStreamKey(uint32_t, uint32_t, const uint8_t*) {
  return 0;
}
int32_t WYSSubmitFrame(uint32_t, uint32_t, const WysPoint*, uint32_t, const uint8_t*) {
  return 0;
}
int32_t WYSSendRecv(uint32_t, uint32_t, int32_t, uint32_t, const uint8_t*, uint32_t*, uint8_t*, int32_t) {
  return 0;
}
int32_t WYSRepaintImage(uint32_t, uint32_t) {
  return 0;
}
int32_t WYSGetVersion(uint32_t*) {
  return 0;
}
int32_t WYSStatusToString(WCHAR*, uint32_t, uint32_t) {
  return 0;
}
int32_t WYSRegisterEvents(uint32_t, const uint32_t*, DisplayEventEntry, void*) {
  return 0;
}

}  // extern "C"
