// Opening and closing a session, its events and messages, and the user's input.
#include "base/base64.h"
#include "display/cksv_plugin_wys.h"
#include "display/display_operation.h"
#include "display/wys_point.h"
#include "library/output_buffer.h"

namespace NorvoWebAPI::KSV {
namespace {

constexpr uint32_t kWantedEvents = 2;

}  // namespace

Outcome CKSVPluginWYS::EstablishSession(HWND window, uint32_t* sessionId, uint32_t displayContext) {
  return Run(entries.EstablishSession, [&](Outcome& outcome) {
    WysSessionRequest request;
    request.window = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(window));
    request.displayContext = displayContext;
    outcome.status = entries.EstablishSession(&request, sessionId);
  });
}

Outcome CKSVPluginWYS::RegisterEvents(uint32_t sessionId, DisplayEventEntry callback, void* context) {
  return Run(entries.RegisterEvents, [&](Outcome& outcome) {
    const uint32_t mask = kWantedEvents;
    outcome.status = entries.RegisterEvents(sessionId, &mask, callback, context);
  });
}

Outcome CKSVPluginWYS::CloseSession(uint32_t sessionId) {
  return Run(entries.CloseSession, [&](Outcome& outcome) {
    outcome.status = entries.CloseSession(sessionId);
    hasImage = false;
  });
}

Outcome CKSVPluginWYS::SendRecv(uint32_t displayContext, uint32_t sessionId, int32_t messageType, int32_t textLength,
                                const char* b64Text, int32_t capacity, int32_t flag, JSObject& result) {
  return Run(entries.SendRecv, [&](Outcome& outcome) {
    if (textLength != 0 && !b64Text) return;
    const ByteBuffer sent = DecodeOptional(b64Text, textLength);
    OutputBuffer<uint32_t> received(capacity, static_cast<uint32_t>(capacity));
    outcome.status = entries.SendRecv(displayContext, sessionId, messageType, static_cast<uint32_t>(sent.size),
                                      sent.bytes.get(), received.Length(), received.Bytes(), flag);
    if (outcome.status != kDisplayOk) return;
    if (const uint32_t stored = received.StoreData(result, "b64WysData"); stored > 0) {
      // Neither the text's length nor the number of bytes: pages know it by this formula.
      result["Length"] = JSObject(static_cast<int32_t>(2 * stored + 3));
    }
  });
}

Outcome CKSVPluginWYS::RunMouse(const PointEntry& entryPoint, uint32_t sessionId, uint32_t imageId,
                                const char* pointText) {
  return Run(entryPoint, [&](Outcome& outcome) {
    WysPoint point;
    if (ParsePoint(pointText, &point)) outcome.status = entryPoint(sessionId, imageId, &point);
  });
}

Outcome CKSVPluginWYS::MouseDown(uint32_t sessionId, uint32_t imageId, const char* pointText) {
  return RunMouse(entries.MouseDown, sessionId, imageId, pointText);
}

Outcome CKSVPluginWYS::MouseUp(uint32_t sessionId, uint32_t imageId, const char* pointText) {
  return RunMouse(entries.MouseUp, sessionId, imageId, pointText);
}

Outcome CKSVPluginWYS::SubmitInput(uint32_t sessionId, uint32_t imageId, uint32_t length, const WCHAR* text) {
  return RunCall(entries.SubmitInput, sessionId, imageId, length, text);
}

Outcome CKSVPluginWYS::SubmitInputAndGetResponse(uint32_t sessionId, uint32_t imageId, JSObject& result) {
  constexpr char kClientInput[] = "ClientInput";
  return Run(entries.SubmitInputAndGetResponse, [&](Outcome& outcome) {
    uint32_t length = 0;
    const int32_t status = entries.SubmitInputAndGetResponse(sessionId, imageId, &length, nullptr);
    result[kClientInput] = JSObject("");
    outcome.status = status;
    if (length == 0) return;
    OutputBuffer<uint32_t> input(static_cast<int32_t>(length), length);
    outcome.status = entries.SubmitInputAndGetResponse(sessionId, imageId, input.Length(), input.Bytes());
    if (outcome.status == kDisplayOk) input.StoreData(result, kClientInput);
  });
}

Outcome CKSVPluginWYS::ClearInput(uint32_t sessionId, uint32_t imageId) {
  return RunCall(entries.ClearInput, sessionId, imageId);
}

}  // namespace NorvoWebAPI::KSV
