#include "api/display_methods.h"

#include <string>
#include <utility>

#include "base/result_codes.h"
#include "base/text.h"
#include "hooks/input_hooks.h"
#include "library/output_buffer.h"
#include "page/plugin.h"
#include "page/script_call.h"
#include "page/scriptable.h"
#include "script/host_values.h"

namespace NorvoWebAPI::KSV::DisplayMethods {
namespace {

constexpr DWORD kMaxRepaintWait = 1000;  // Milliseconds.

// Lets an operation of the library's write one of the page's numbers. The page has it only once the call is over, and
// only if the library gave one, as its status or another number tells: script that ran meanwhile may have changed it.
template <typename Operation>
void TakeNumber(uint32_t& number, const ScriptCall& call, Operation operation) {
  const uint32_t before = number;
  uint32_t place = before;
  operation(&place);
  const uint32_t given = ReadOnce(place);
  const int32_t status = StatusOf(call.result);
  if (given != before || status == kDisplayOk || status == kSessionStands) number = given;
}

// A page that ends inside a call of the library takes away only what stood then: its session is closed when the method
// is over, unless the library was taken down since or the session may be another page's. The end of an object that
// shows an image does it by itself.
class TakesBack {
 public:
  explicit TakesBack(Scriptable& calledPage) : page(calledPage) {}
  TakesBack(const TakesBack&) = delete;
  TakesBack& operator=(const TakesBack&) = delete;
  ~TakesBack() {
    const bool stands = page.sessionId != 0 && page.sessionEra == displayInitialisations.Era();
    const bool isOwn = stands && !page.sessionStoodBefore;
    if (!isOwn || !page.Page().IsDestroyed() || page.displayActive == 1) return;
    ReleaseQuietly([this] {
      JSObject unread;
      const uint32_t sessionId = std::exchange(page.sessionId, 0);
      page.Display().RegisterEvents(sessionId, nullptr, nullptr, unread);
      page.Display().CloseSession(sessionId, unread);
    });
  }

 private:
  Scriptable& page;
};

// Whether the library has done what it was asked last, for a page that has not ended inside that call.
bool Done(ScriptCall& call) {
  return StatusOf(call.result) == kDisplayOk && !call.page.Page().IsDestroyed();
}

// The page's image is up: its window is watched from now on.
void ShowImage(Scriptable& page) {
  page.displayActive = 1;
  InstallDisplayHooks();
}

// The image that stands from an earlier frame goes before a new one comes. True when the way is free.
bool ReleaseRemoteImage(ScriptCall& call) {
  if (call.page.remoteImagePresent == 0) return true;
  call.page.Display().ReleaseImage(call.page.sessionId, call.page.imageId, call.result);
  return Done(call);
}

// Asked before a session is closed; a repaint that runs needs it still.
bool IsRepainting(const Scriptable& page) {
  const HANDLE mutex = page.repaintMutex.Get();
  if (!TakeMutex(mutex, kMaxRepaintWait)) return true;
  const uint32_t busy = page.repaintBusy;
  ReleaseMutex(mutex);
  return busy != 0;
}

// The release that a press still waits for finds no image any more, and must not keep the next one from repaints.
void EndClick(Scriptable& page) {
  ForgetPress(page);
  TryClearFlag(page.buttonMutex.Get(), &page.buttonHeld);
}

void StoreFunction(ScriptCall& call, DisplayState::Callback DisplayState::*slot) {
  call.page.*slot =
      std::make_shared<NPJSConverter::NPFuncBridge>(call.page.Instance(), call.page.Host(), call.ScriptObject(0));
}

}  // namespace

void Init(ScriptCall& call) {
  Scriptable& page = call.page;
  if (page.displayActive == 0) {
    page.ForgetSession();
    page.displayContext = 0;
  }
  TakeNumber(page.displayContext, call,
             [&](uint32_t* context) { page.Display().Init(call.Number(0), call.Text(1), context, call.result); });
  if (StatusOf(call.result) != kDisplayOk) return;
  displayInitialisations.Enter(page.Page());
}

void EnterDeInit(Scriptable& page, bool /*accepted*/) {
  page.buttonUpCount = 0;
}

void DeInit(ScriptCall& call) {
  Scriptable& page = call.page;
  if (displayInitialisations.GiveBack(page.Page()) != Initialisations::Returned::Last) return;
  page.displayActive = 0;
  EndClick(page);
  page.Display().DeInit(std::exchange(page.displayContext, 0), call.result);
}

void EstablishSession(ScriptCall& call) {
  Scriptable& page = call.page;
  const HWND window = page.Page().window;
  if (!window || page.Page().IsDestroyed()) return;
  const TakesBack takesBack(page);
  const uint32_t era = displayInitialisations.Era();
  TakeNumber(page.sessionId, call, [&](uint32_t* session) {
    page.Display().EstablishSession(window, session, page.displayContext, call.result);
  });
  const int32_t status = StatusOf(call.result);
  if (status != kDisplayOk && status != kSessionStands) return;
  page.sessionEra = era;
  page.sessionStoodBefore = status == kSessionStands;
  if (page.Page().IsDestroyed()) return;
  page.Display().RegisterEvents(page.sessionId, DisplayEventCallback, window, call.result);
  if (StatusOf(call.result) != kDisplayOk) StorePluginCode(call.result, kDisplayEventsFailed);
}

void CloseSession(ScriptCall& call) {
  Scriptable& page = call.page;
  if (IsRepainting(page)) return;
  // Forgotten first: the library may let the page's script run, which must not find a session that is being closed.
  const uint32_t sessionId = page.sessionId;
  page.ForgetSession();
  ResetClickState();
  EndClick(page);
  page.Display().CloseSession(sessionId, call.result);
}

void SendRecv(ScriptCall& call) {
  call.page.Display().SendRecv(call.page.displayContext, call.page.sessionId, call.Number(0), call.Length(1),
                               call.Text(1), call.Number(2), static_cast<int32_t>(call.Unsigned(3)), call.result);
}

void GetVersion(ScriptCall& call) {
  call.page.Display().GetVersion(call.result);
}

void StatusToString(ScriptCall& call) {
  call.page.Display().StatusToString(static_cast<uint32_t>(call.Number(0)), call.result);
}

void CreateStdImage(ScriptCall& call) {
  Scriptable& page = call.page;
  if (page.Page().IsDestroyed()) return;
  const TakesBack takesBack(page);
  page.inputType = call.Number(0);
  page.imageId = call.Unsigned(1);
  int32_t width = 0;
  int32_t height = 0;
  page.Display().CreateStdImage(page.sessionId, page.inputType, page.imageId, call.Text(2), call.Text(3),
                                call.Number(4), call.Text(5), call.Number(6), call.Number(8), call.Number(9),
                                call.Text(10), call.Text(11), call.Length(11), &width, &height, call.result);
  if (!Done(call)) return;
  // An image that stands, but whose id could not be told, is no success, however its painting goes.
  const int32_t told = PluginCodeOf(call.result);
  page.Display().RepaintImage(page.sessionId, page.imageId, call.result);
  if (told != kPluginOk) StorePluginCode(call.result, told);
  if (page.Page().IsDestroyed()) return;
  page.imageWidth = width;
  page.imageHeight = height;
  ShowImage(page);
}

void SubmitFrame(ScriptCall& call) {
  Scriptable& page = call.page;
  if (page.Page().IsDestroyed()) return;
  const TakesBack takesBack(page);
  if (!ReleaseRemoteImage(call)) return;
  page.imageId = call.Unsigned(0);
  page.Display().SubmitFrame(page.sessionId, page.imageId, call.Text(1), call.Length(2), call.Text(2), call.result);
  if (!Done(call)) return;
  page.remoteImagePresent = 1;
  page.displayActive = 1;
}

void EnterProcessRemote(Scriptable& /*page*/, bool accepted) {
  OutputDebugStringA("Plugin ProcessRemoteWys entered");
  if (!accepted) OutputDebugStringA("Plugin invalid args");
}

void ProcessRemoteWysMessage(ScriptCall& call) {
  Scriptable& page = call.page;
  if (page.Page().IsDestroyed()) return;
  const TakesBack takesBack(page);
  std::string domain;
  if (call.Text(4)) domain = page.PageOrigin();
  const bool replaces = page.remoteImagePresent != 0;
  const bool released = ReleaseRemoteImage(call);
  page.imageId = call.Unsigned(1);
  if (!released) return;
  if (!replaces) OutputDebugStringA("Plugin calling WYS RemoteWysSession");
  page.Display().ksvWYSRemoteWysSession(page.displayContext, page.sessionId, page.imageId, call.Text(5), call.Length(5),
                                        call.Text(0), call.Length(0), call.Text(2), call.Length(2), call.Length(3),
                                        call.Text(3), TextOrNull(domain), call.Text(4), call.Text(6), call.Text(7),
                                        &page.imageWidth, &page.imageHeight, call.result);
  if (!Done(call)) return;
  page.remoteImagePresent = 1;
  ShowImage(page);
}

void RepaintImage(ScriptCall& call) {
  call.page.Display().RepaintImage(call.page.sessionId, call.page.imageId, call.result);
}

void CancelButton(ScriptCall& call) {
  call.page.Display().ReleaseImage(call.page.sessionId, call.page.imageId, call.result);
}

void MouseDown(ScriptCall& call) {
  call.page.Display().MouseDown(call.page.sessionId, call.page.imageId, call.Text(0), call.result);
}

void MouseUp(ScriptCall& call) {
  call.page.Display().MouseUp(call.page.sessionId, call.page.imageId, call.Text(0), call.result);
}

void SubmitButton(ScriptCall& call) {
  enum InputType : int32_t { kFirstWithoutText = 1, kLastWithoutText = 2, kText = 3 };
  Scriptable& page = call.page;
  if (page.inputType == kText) {
    const JSObject input = call.Read(0);
    if (input.GetType() != JSObject::Type::String) throw CPluginException{kFailed};
    const Bstr wide = BstrOfExactLength(input.AsString());
    const auto length = static_cast<uint32_t>(input.AsString().size());
    page.Display().SubmitInput(page.sessionId, page.imageId, length, wide.Get(), call.result);
  } else if (page.inputType >= kFirstWithoutText && page.inputType <= kLastWithoutText) {
    page.Display().SubmitInput(page.sessionId, page.imageId, 0, nullptr, call.result);
  }
}

void ProcessSubmitAndGetResponse(ScriptCall& call) {
  call.page.Display().SubmitInputAndGetResponse(call.page.sessionId, call.page.imageId, call.result);
}

void ClearButton(ScriptCall& call) {
  call.page.Display().ClearInput(call.page.sessionId, call.page.imageId, call.result);
}

void GetButtonUpCount(ScriptCall& call) {
  StorePluginCode(call.result, kPluginOk);
  call.result["ButtonUpCount"] = JSObject(static_cast<int32_t>(call.page.buttonUpCount));
}

void SetMouseDownCallback(ScriptCall& call) {
  StoreFunction(call, &DisplayState::mouseDownCallback);
}

void SetMouseUpCallback(ScriptCall& call) {
  StoreFunction(call, &DisplayState::mouseUpCallback);
}

void SetWindowEventCallback(ScriptCall& call) {
  StoreFunction(call, &DisplayState::windowEventCallback);
}

void SetRepaintImageCallback(ScriptCall& call) {
  StoreFunction(call, &DisplayState::repaintImageCallback);
}

void SetDisplayEventsCallback(ScriptCall& call) {
  StoreFunction(call, &DisplayState::displayEventsCallback);
  OutputDebugStringA("Display callback is set");
}

}  // namespace NorvoWebAPI::KSV::DisplayMethods
