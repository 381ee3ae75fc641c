// Which name a variant lacks is said by its compile definitions; all else is the test's to tell.
#include "tests/stubs/display_stub.h"

#include <sstream>
#include <string>

namespace {

DisplayStubControl control;

class StubCall {
 public:
  explicit StubCall(const char* entry) : shown(entry) { call.entry = entry; }

  template <typename Number>
  StubCall& Plain(Number number) {
    return Part(std::to_string(number));
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
  StubCall& Value(uint32_t* value) {
    call.value = value;
    return *this;
  }
  StubCall& Descriptor(uint8_t* bytes, uint32_t size) {
    call.bytes = bytes;
    call.size = size;
    return Part("descriptor of " + std::to_string(size));
  }
  StubCall& Wide(WCHAR* text, uint32_t capacity) {
    call.text = text;
    call.size = capacity;
    return *this;
  }
  StubCall& Callback(DisplayEventEntry callback, void* context) {
    call.callback = callback;
    call.context = context;
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

extern "C" {

DisplayStubControl* DisplayStub_Control() {
  return &control;
}

int32_t WYSInit(int32_t value, const char* text, uint32_t* context) {
  return StubCall(__func__).Plain(value).Text(text).Value(context).Answer();
}
int32_t WYSDeInit(uint32_t context) {
  return StubCall(__func__).Plain(context).Answer();
}
int32_t WYSEstablishSession(const WysSessionRequest* request, uint32_t* session) {
  return StubCall(__func__)
      .Plain(request->window)
      .Plain(request->windowKind)
      .Plain(request->displayContext)
      .Value(session)
      .Answer();
}
int32_t WYSCloseSession(uint32_t session) {
  return StubCall(__func__).Plain(session).Answer();
}
int32_t WYSCreateStdImage(uint32_t session, const WysPoint* origin, uint8_t* descriptor, uint32_t size, int32_t zero,
                          int32_t alsoZero) {
  return StubCall(__func__)
      .Plain(session)
      .Point(origin)
      .Descriptor(descriptor, size)
      .Plain(zero)
      .Plain(alsoZero)
      .Answer();
}
int32_t WYSMouseDown(uint32_t session, uint32_t image, const WysPoint* point) {
  return StubCall(__func__).Plain(session).Plain(image).Point(point).Answer();
}
int32_t WYSMouseUp(uint32_t session, uint32_t image, const WysPoint* point) {
  return StubCall(__func__).Plain(session).Plain(image).Point(point).Answer();
}
int32_t WYSSubmitInput(uint32_t session, uint32_t image, uint32_t length, const WCHAR* text) {
  return StubCall(__func__).Plain(session).Plain(image).Input(text).Plain(length).Answer();
}
int32_t WYSSubmitInputAndGetResponse(uint32_t session, uint32_t image, uint32_t* length, uint8_t* bytes) {
  return StubCall(__func__).Plain(session).Plain(image).Fill(length, bytes).Answer();
}
int32_t WYSReleaseImage(uint32_t session, uint32_t image) {
  return StubCall(__func__).Plain(session).Plain(image).Answer();
}
int32_t WYSClearInput(uint32_t session, uint32_t image) {
  return StubCall(__func__).Plain(session).Plain(image).Answer();
}
int32_t WYSSetStreamKey(uint32_t session, uint32_t length, const uint8_t* key) {
  return StubCall(__func__).Plain(session).Bytes(key, length).Answer();
}
int32_t WYSSubmitFrame(uint32_t session, uint32_t image, const WysPoint* point, uint32_t length, const uint8_t* frame) {
  return StubCall(__func__).Plain(session).Plain(image).Point(point).Bytes(frame, length).Answer();
}
int32_t WYSSendRecv(uint32_t context, uint32_t session, int32_t type, uint32_t length, const uint8_t* bytes,
                    uint32_t* room, uint8_t* received, int32_t flag) {
  return StubCall(__func__)
      .Plain(context)
      .Plain(session)
      .Plain(type)
      .Bytes(bytes, length)
      .Fill(room, received)
      .Plain(flag)
      .Answer();
}
int32_t WYSRepaintImage(uint32_t session, uint32_t image) {
  return StubCall(__func__).Plain(session).Plain(image).Answer();
}
int32_t WYSGetVersion(uint32_t* version) {
  return StubCall(__func__).Value(version).Answer();
}
int32_t WYSStatusToString(WCHAR* text, uint32_t capacity, uint32_t status) {
  return StubCall(__func__).Plain(capacity).Plain(status).Wide(text, capacity).Answer();
}
#ifndef STUB_WITHOUT_EVENTS
int32_t WYSRegisterEvents(uint32_t session, const uint32_t* mask, DisplayEventEntry callback, void* context) {
  return StubCall(__func__).Plain(session).Plain(*mask).Callback(callback, context).Answer();
}
#endif

}  // extern "C"
