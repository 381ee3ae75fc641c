#include <memory>

#include "kit/display/display.h"
#include "vendor/ksvwys.h"

namespace KsvDisplay {
namespace {

constexpr uint32_t kVersion = 0x00010000;

/// At the end of a process the display's thread may still run, or the system may have ended it while it held a lock.
/// Then nothing is freed.
struct DeleteIfAtRest {
  void operator()(Display* display) const noexcept {
    if (display->IsAtRest()) delete display;
  }
};

Display& TheDisplay() {
  static const std::unique_ptr<Display, DeleteIfAtRest> display(std::make_unique<Display>().release());
  return *display;
}

/// Runs the work of an entry point.
template <class Operation>
int32_t Guarded(Operation&& operation) noexcept {
  return static_cast<int32_t>(StatusOf<Status>([&] { operation(TheDisplay()); }));
}

template <class Pointer>
Pointer NotNull(Pointer pointer) {
  Require(pointer != nullptr, Status::kInvalidArgument);
  return pointer;
}

ByteView Sent(uint32_t length, const uint8_t* data) {
  Require(length == 0 || data != nullptr, Status::kInvalidArgument);
  return {data, length};
}

/// Stores the text with its end mark, or an empty one where it does not fit.
void StoreText(WCHAR* buffer, uint32_t capacity, std::string_view text) {
  Require(capacity > 0, Status::kBufferTooSmall);
  NotNull(buffer)[0] = 0;
  Require(text.size() < capacity, Status::kBufferTooSmall);
  std::copy(text.begin(), text.end(), buffer);
  buffer[text.size()] = 0;
}

}  // namespace
}  // namespace KsvDisplay

using namespace KsvDisplay;

int32_t WYSInit(int32_t, const char* caption, uint32_t* context) {
  return Guarded([=](Display& display) { *NotNull(context) = display.Init(caption); });
}

int32_t WYSDeInit(uint32_t context) {
  return Guarded([=](Display& display) { display.DeInit(context); });
}

int32_t WYSEstablishSession(const WysSessionRequest* request, uint32_t* sessionId) {
  return Guarded([=](Display& display) { display.EstablishSession(*NotNull(request), *NotNull(sessionId)); });
}

int32_t WYSCloseSession(uint32_t sessionId) {
  return Guarded([=](Display& display) { display.CloseSession(sessionId); });
}

int32_t WYSCreateStdImage(uint32_t sessionId, const WysPoint* origin, uint8_t* descriptor, uint32_t descriptorLength,
                          int32_t reserved1, int32_t reserved2) {
  return Guarded([=](Display& display) {
    Require(reserved1 == 0 && reserved2 == 0, Status::kInvalidArgument);
    display.CreateStdImage(sessionId, *NotNull(origin), {NotNull(descriptor), descriptorLength});
  });
}

int32_t WYSMouseDown(uint32_t sessionId, uint32_t imageId, const WysPoint* point) {
  return Guarded([=](Display& display) { display.MouseDown(sessionId, imageId, *NotNull(point)); });
}

int32_t WYSMouseUp(uint32_t sessionId, uint32_t imageId, const WysPoint* point) {
  return Guarded([=](Display& display) { display.MouseUp(sessionId, imageId, *NotNull(point)); });
}

int32_t WYSSubmitInput(uint32_t sessionId, uint32_t imageId, uint32_t length, const WCHAR* text) {
  return Guarded([=](Display& display) { display.SubmitInput(sessionId, imageId, length, text); });
}

int32_t WYSSubmitInputAndGetResponse(uint32_t sessionId, uint32_t imageId, uint32_t* length, uint8_t* buffer) {
  return Guarded([=](Display& display) { display.GetResponse(sessionId, imageId, {NotNull(length), buffer}); });
}

int32_t WYSReleaseImage(uint32_t sessionId, uint32_t imageId) {
  return Guarded([=](Display& display) { display.ReleaseImage(sessionId, imageId); });
}

int32_t WYSClearInput(uint32_t sessionId, uint32_t imageId) {
  return Guarded([=](Display& display) { display.ClearInput(sessionId, imageId); });
}

int32_t WYSSetStreamKey(uint32_t sessionId, uint32_t length, const uint8_t* key) {
  return Guarded([=](Display& display) { display.SetStreamKey(sessionId, Sent(length, key)); });
}

int32_t WYSSubmitFrame(uint32_t sessionId, uint32_t imageId, const WysPoint* point, uint32_t length,
                       const uint8_t* frame) {
  return Guarded(
      [=](Display& display) { display.SubmitFrame(sessionId, imageId, *NotNull(point), Sent(length, frame)); });
}

int32_t WYSSendRecv(uint32_t context, uint32_t sessionId, int32_t messageType, uint32_t sendLength, const uint8_t* send,
                    uint32_t* receiveLength, uint8_t* receive, int32_t flag) {
  return Guarded([=](Display& display) {
    Require(flag == 0 || flag == 1, Status::kInvalidArgument);
    display.SendRecv(context, sessionId, messageType, Sent(sendLength, send), {NotNull(receiveLength), receive},
                     flag == 1);
  });
}

int32_t WYSRepaintImage(uint32_t sessionId, uint32_t imageId) {
  return Guarded([=](Display& display) { display.RepaintImage(sessionId, imageId); });
}

int32_t WYSGetVersion(uint32_t* version) {
  return Guarded([=](Display&) { *NotNull(version) = kVersion; });
}

int32_t WYSStatusToString(WCHAR* buffer, uint32_t capacity, uint32_t statusCode) {
  return Guarded([=](Display&) {
    const std::string_view text = TextOf(statusCode);
    StoreText(NotNull(buffer), capacity, text);
    Require(!text.empty(), Status::kUnknownStatus);
  });
}

int32_t WYSRegisterEvents(uint32_t sessionId, const uint32_t* eventMask, DisplayEventEntry callback, void* context) {
  return Guarded([=](Display& display) {
    if (callback == nullptr) return display.WithdrawEvents(sessionId);
    // Window handles, which hosts give here, have 32 significant bits on every system.
    const auto word = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(context));
    display.RegisterEvents(sessionId, *NotNull(eventMask), callback, word);
  });
}
