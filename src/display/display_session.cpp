// Sessions: opening and closing one, its events, its messages, and the input that the user makes in it.
#include "base/base64.h"
#include "display/cksv_plugin_wys.h"
#include "display/display_operation.h"
#include "display/wys_point.h"
#include "library/output_buffer.h"

namespace NorvoWebAPI::KSV {
namespace {

constexpr uint32_t kWantedEvents = 2;

}  // namespace

bool CKSVPluginWYS::EstablishSession(HWND window, uint32_t* sessionId, uint32_t displayContext, JSObject& result) {
  return Run(entries.EstablishSession, result, [&] {
    WysSessionRequest request;
    request.window = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(window));
    request.displayContext = displayContext;
    StoreStatus(result, entries.EstablishSession(&request, sessionId));
  });
}

bool CKSVPluginWYS::RegisterEvents(uint32_t sessionId, DisplayEventEntry callback, void* context, JSObject& result) {
  return Run(entries.RegisterEvents, result, [&] {
    uint32_t mask = kWantedEvents;
    StoreStatus(result, entries.RegisterEvents(sessionId, &mask, callback, context));
  });
}

bool CKSVPluginWYS::CloseSession(uint32_t sessionId, JSObject& result) {
  return Run(entries.CloseSession, result, [&] {
    hasImage = false;
    const auto described = image;
    if (StoreStatus(result, entries.CloseSession(sessionId)) != kDisplayOk) return;
    if (imageSession == sessionId) ForgetImage(described);
  });
}

bool CKSVPluginWYS::SendRecv(uint32_t displayContext, uint32_t sessionId, int32_t messageType, int32_t textLength,
                             const char* b64Text, int32_t capacity, int32_t flag, JSObject& result) {
  return Run(entries.SendRecv, result, [&] {
    if (textLength != 0 && !b64Text) return;
    const ByteBuffer sent = DecodeOptional(b64Text, textLength);
    OutputBuffer<uint32_t> received(capacity, static_cast<uint32_t>(capacity));
    const int32_t status =
        StoreStatus(result, entries.SendRecv(displayContext, sessionId, messageType, static_cast<uint32_t>(sent.size),
                                             sent.bytes.get(), received.Length(), received.Bytes(), flag));
    if (status != kDisplayOk) return;
    if (const uint32_t stored = received.StoreData(result, "b64WysData"); stored > 0) {
      // Neither the text's length nor the count of bytes: pages know it by this formula.
      result["Length"] = JSObject(static_cast<int32_t>(2 * stored + 3));
    }
  });
}

bool CKSVPluginWYS::RunMouse(const PointEntry& entryPoint, uint32_t sessionId, uint32_t imageId, const char* pointText,
                             JSObject& result) {
  return Run(entryPoint, result, [&] {
    WysPoint point;
    if (ParsePoint(pointText, &point)) StoreStatus(result, entryPoint(sessionId, imageId, &point));
  });
}

bool CKSVPluginWYS::MouseDown(uint32_t sessionId, uint32_t imageId, const char* pointText, JSObject& result) {
  return RunMouse(entries.MouseDown, sessionId, imageId, pointText, result);
}

bool CKSVPluginWYS::MouseUp(uint32_t sessionId, uint32_t imageId, const char* pointText, JSObject& result) {
  return RunMouse(entries.MouseUp, sessionId, imageId, pointText, result);
}

bool CKSVPluginWYS::SubmitInput(uint32_t sessionId, uint32_t imageId, uint32_t length, const WCHAR* text,
                                JSObject& result) {
  return RunCall(entries.SubmitInput, result, sessionId, imageId, length, text);
}

bool CKSVPluginWYS::SubmitInputAndGetResponse(uint32_t sessionId, uint32_t imageId, JSObject& result) {
  constexpr char kClientInput[] = "ClientInput";
  return Run(entries.SubmitInputAndGetResponse, result, [&] {
    uint32_t length = 0;
    const int32_t asked = entries.SubmitInputAndGetResponse(sessionId, imageId, &length, nullptr);
    result[kClientInput] = JSObject("");
    StoreStatus(result, asked);
    const uint32_t room = ReadOnce(length);
    if (room == 0 || pageEnded) return;
    OutputBuffer<uint32_t> input(static_cast<int32_t>(room), room);
    const int32_t given = entries.SubmitInputAndGetResponse(sessionId, imageId, input.Length(), input.Bytes());
    if (StoreStatus(result, given) == kDisplayOk) input.StoreData(result, kClientInput);
  });
}

bool CKSVPluginWYS::ClearInput(uint32_t sessionId, uint32_t imageId, JSObject& result) {
  return RunCall(entries.ClearInput, result, sessionId, imageId);
}

}  // namespace NorvoWebAPI::KSV
