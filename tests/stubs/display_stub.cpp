// Which name a variant lacks is said by its compile definitions; all else is the test's to tell.
#include "tests/stubs/display_stub.h"

#include <sstream>
#include <string>

namespace {

DisplayStubControl control;

class StubCall {
 public:
  explicit StubCall(const char* entry) : shown(entry) { call.entry = entry; }

  template <typename... Numbers>
  StubCall& Plain(Numbers... numbers) {
    return (Part(std::to_string(numbers)), ...);
  }
  StubCall& Point(const WysPoint* point) {
    if (!point) return Part("no point");
    return Part("{" + std::to_string(point->x) + "," + std::to_string(point->y) + "}");
  }
  StubCall& Text(const char* text) { return Part(text ? "'" + std::string(text) + "'" : "null"); }
  StubCall& Input(const WCHAR* text) {
    std::string narrow;
    for (const WCHAR* next = text; next && *next; ++next) narrow += static_cast<char>(*next);
    return Text(text ? narrow.c_str() : nullptr);
  }
  StubCall& Bytes(const uint8_t* bytes, uint32_t length) {
    if (!bytes) return Part(length == 0 ? "null" : "null of a length");
    std::ostringstream hex;
    for (uint32_t i = 0; i < length; ++i) hex << "0123456789abcdef"[bytes[i] >> 4] << "0123456789abcdef"[bytes[i] & 15];
    return Part("<" + hex.str());
  }
  StubCall& Fill(uint32_t* length, uint8_t* bytes) {
    call.length = length;
    call.size = *length;
    call.bytes = bytes;
    return Part(">" + std::to_string(*length) + (bytes ? "" : "/null"));
  }
  StubCall& Value(uint32_t* value) { return call.value = value, *this; }
  StubCall& Descriptor(uint8_t* bytes, uint32_t size) {
    call.bytes = bytes, call.size = size;
    return Part("descriptor of " + std::to_string(size));
  }
  StubCall& Wide(WCHAR* text, uint32_t capacity) { return call.text = text, call.size = capacity, *this; }
  StubCall& Callback(DisplayEventEntry callback, void* context) {
    call.callback = callback, call.context = context;
    return Part(callback && context ? "callback" : callback || context ? "half a callback" : "no callback");
  }
  int32_t Answer() {
    shown += first ? "()" : ")";
    call.shown = shown.c_str();
    if (control.answer) control.answer(control.context, &call);
    return call.status;
  }

 private:
  StubCall& Part(const std::string& part) {
    shown += (first ? "(" : ", ") + part;
    first = false;
    return *this;
  }

  DisplayCall call{};
  std::string shown;
  bool first = true;
};

}  // namespace

// An entry point: its name, its parameters, and how its call is shown.
#define ENTRY(name, parameters, ...)             \
  int32_t name parameters {                      \
    return StubCall(#name).__VA_ARGS__.Answer(); \
  }

extern "C" {

DisplayStubControl* DisplayStub_Control() {
  return &control;
}

ENTRY(WYSInit, (int32_t value, const char* text, uint32_t* context), Plain(value).Text(text).Value(context))
ENTRY(WYSDeInit, (uint32_t context), Plain(context))
ENTRY(WYSEstablishSession, (const WysSessionRequest* request, uint32_t* session),
      Plain(request->window, request->windowKind, request->displayContext).Value(session))
ENTRY(WYSCloseSession, (uint32_t session), Plain(session))
ENTRY(WYSCreateStdImage,
      (uint32_t session, const WysPoint* origin, uint8_t* descriptor, uint32_t size, int32_t zero, int32_t alsoZero),
      Plain(session).Point(origin).Descriptor(descriptor, size).Plain(zero, alsoZero))
ENTRY(WYSMouseDown, (uint32_t session, uint32_t image, const WysPoint* point), Plain(session, image).Point(point))
ENTRY(WYSMouseUp, (uint32_t session, uint32_t image, const WysPoint* point), Plain(session, image).Point(point))
ENTRY(WYSSubmitInput, (uint32_t session, uint32_t image, uint32_t length, const WCHAR* text),
      Plain(session, image).Input(text).Plain(length))
ENTRY(WYSSubmitInputAndGetResponse, (uint32_t session, uint32_t image, uint32_t* length, uint8_t* bytes),
      Plain(session, image).Fill(length, bytes))
ENTRY(WYSReleaseImage, (uint32_t session, uint32_t image), Plain(session, image))
ENTRY(WYSClearInput, (uint32_t session, uint32_t image), Plain(session, image))
ENTRY(WYSSetStreamKey, (uint32_t session, uint32_t length, const uint8_t* key), Plain(session).Bytes(key, length))
ENTRY(WYSSubmitFrame, (uint32_t session, uint32_t image, const WysPoint* point, uint32_t length, const uint8_t* frame),
      Plain(session, image).Point(point).Bytes(frame, length))
ENTRY(WYSSendRecv,
      (uint32_t context, uint32_t session, int32_t type, uint32_t length, const uint8_t* bytes, uint32_t* room,
       uint8_t* received, int32_t flag),
      Plain(context, session, type).Bytes(bytes, length).Fill(room, received).Plain(flag))
ENTRY(WYSRepaintImage, (uint32_t session, uint32_t image), Plain(session, image))
ENTRY(WYSGetVersion, (uint32_t * version), Value(version))
ENTRY(WYSStatusToString, (WCHAR * text, uint32_t capacity, uint32_t status),
      Plain(capacity, status).Wide(text, capacity))
#ifndef STUB_WITHOUT_EVENTS
ENTRY(WYSRegisterEvents, (uint32_t session, const uint32_t* mask, DisplayEventEntry callback, void* context),
      Plain(session, *mask).Callback(callback, context))
#endif

}  // extern "C"
