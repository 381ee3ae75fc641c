#include "api/display_methods.h"

#include <string>
#include <utility>

#include "base/result_codes.h"
#include "base/text.h"
#include "hooks/input_hooks.h"
#include "page/flag_mutex.h"
#include "page/init_count.h"
#include "page/script_call.h"
#include "page/scriptable.h"

namespace NorvoWebAPI::KSV::DisplayMethods {
namespace {

constexpr DWORD kMaxRepaintWait = 1000;  // Milliseconds.

// Stores an operation's codes. True when the library reports success.
bool StoreCodes(ScriptCall& call, const Outcome& outcome) {
  call.result.Set(outcome);
  return outcome.status == kDisplayOk;
}

// The image is shown: its window is watched from now on.
void ShowImage(Scriptable& object) {
  object.displayActive = 1;
  InstallDisplayHooks();
}

// Releases the image of an earlier frame, if there is one. True when the next one may come.
bool ReleaseRemoteImage(ScriptCall& call) {
  Scriptable& object = call.scriptable;
  return object.remoteImagePresent == 0 ||
         StoreCodes(call, object.Display().ReleaseImage(object.sessionId, object.imageId));
}

// True also when the flag can't be read in time.
bool IsRepainting(const Scriptable& object) {
  const HANDLE mutex = object.repaintMutex.Get();
  if (!TakeMutex(mutex, kMaxRepaintWait)) return true;
  const uint32_t busy = object.repaintBusy;
  ReleaseMutex(mutex);
  return busy != 0;
}

void StoreFunction(ScriptCall& call, DisplayState::Callback DisplayState::*slot) {
  call.scriptable.*slot = call.scriptable.BridgeTo(call.ScriptObject(0));
}

}  // namespace

void Init(ScriptCall& call) {
  Scriptable& object = call.scriptable;
  if (object.displayActive == 0) {
    object.ClearSession();
    object.displayContext = 0;
  }
  if (StoreCodes(call, object.Display().Init(call.Number(0), call.Text(1), &object.displayContext))) {
    displayInitCount.AddOrUndo(object.Life(), [&] { object.Display().DeInit(object.displayContext); });
  }
}

void EnterDeInit(Scriptable& object, bool /*accepted*/) {
  object.buttonUpCount = 0;
}

void DeInit(ScriptCall& call) {
  Scriptable& object = call.scriptable;
  if (displayInitCount.Decrement(object.Life()) != InitCount::Release::Last) return;
  call.result.Set(object.Display().DeInit(object.displayContext));
  object.displayActive = 0;
  object.displayContext = 0;
  EndClick(object);
}

void EstablishSession(ScriptCall& call) {
  Scriptable& object = call.scriptable;
  const HWND window = object.Life().window;
  if (!window) return;
  const Outcome established = object.Display().EstablishSession(window, &object.sessionId, object.displayContext);
  if (!StoreCodes(call, established) && established.status != kSessionStands) return;
  if (!StoreCodes(call, object.Display().RegisterEvents(object.sessionId, DisplayEventCallback, window))) {
    call.result.pluginCode = kDisplayEventsFailed;
  }
}

void CloseSession(ScriptCall& call) {
  Scriptable& object = call.scriptable;
  if (IsRepainting(object)) return;
  call.result.Set(object.Display().CloseSession(object.sessionId));
  object.ClearSession();
  ResetClickState();
  EndClick(object);
}

void SendRecv(ScriptCall& call) {
  Scriptable& object = call.scriptable;
  call.result.Set(object.Display().SendRecv(object.displayContext, object.sessionId, call.Number(0), call.Length(1),
                                            call.Text(1), call.Number(2), static_cast<int32_t>(call.Unsigned(3)),
                                            call.result.keys));
}

void GetVersion(ScriptCall& call) {
  call.result.Set(call.scriptable.Display().GetVersion(call.result.keys));
}

void StatusToString(ScriptCall& call) {
  call.result.Set(call.scriptable.Display().StatusToString(static_cast<uint32_t>(call.Number(0)), call.result.keys));
}

void CreateStdImage(ScriptCall& call) {
  Scriptable& object = call.scriptable;
  object.inputType = call.Number(0);
  object.imageId = call.Unsigned(1);
  int32_t width = 0;
  int32_t height = 0;
  if (!StoreCodes(call, object.Display().CreateStdImage(
                            object.sessionId, object.inputType, object.imageId, call.Text(2), call.Text(3),
                            call.Number(4), call.Text(5), call.Number(6), call.Number(8), call.Number(9), call.Text(10),
                            call.Text(11), call.Length(11), &width, &height, call.result.keys))) {
    return;
  }
  call.result.Set(object.Display().RepaintImage(object.sessionId, object.imageId));
  object.imageWidth = width;
  object.imageHeight = height;
  ShowImage(object);
}

void SubmitFrame(ScriptCall& call) {
  Scriptable& object = call.scriptable;
  if (!ReleaseRemoteImage(call)) return;
  object.imageId = call.Unsigned(0);
  if (!StoreCodes(call, object.Display().SubmitFrame(object.sessionId, object.imageId, call.Text(1), call.Length(2),
                                                     call.Text(2)))) {
    return;
  }
  object.remoteImagePresent = 1;
  object.displayActive = 1;
}

void EnterProcessRemote(Scriptable& /*object*/, bool accepted) {
  OutputDebugStringA("Plugin ProcessRemoteWys entered");
  if (!accepted) OutputDebugStringA("Plugin invalid args");
}

void ProcessRemoteWysMessage(ScriptCall& call) {
  Scriptable& object = call.scriptable;
  std::string domain;
  if (call.Text(4)) domain = object.PageOrigin();
  const bool replaces = object.remoteImagePresent != 0;
  const bool released = ReleaseRemoteImage(call);
  object.imageId = call.Unsigned(1);
  if (!released) return;
  if (!replaces) OutputDebugStringA("Plugin calling WYS RemoteWysSession");
  if (!StoreCodes(
          call, object.Display().ksvWYSRemoteWysSession(
                    object.displayContext, object.sessionId, object.imageId, call.Text(5), call.Length(5), call.Text(0),
                    call.Length(0), call.Text(2), call.Length(2), call.Length(3), call.Text(3), TextOrNull(domain),
                    call.Text(4), call.Text(6), call.Text(7), &object.imageWidth, &object.imageHeight))) {
    return;
  }
  object.remoteImagePresent = 1;
  ShowImage(object);
}

void RepaintImage(ScriptCall& call) {
  Scriptable& object = call.scriptable;
  call.result.Set(object.Display().RepaintImage(object.sessionId, object.imageId));
}

void CancelButton(ScriptCall& call) {
  Scriptable& object = call.scriptable;
  call.result.Set(object.Display().ReleaseImage(object.sessionId, object.imageId));
}

void MouseDown(ScriptCall& call) {
  Scriptable& object = call.scriptable;
  call.result.Set(object.Display().MouseDown(object.sessionId, object.imageId, call.Text(0)));
}

void MouseUp(ScriptCall& call) {
  Scriptable& object = call.scriptable;
  call.result.Set(object.Display().MouseUp(object.sessionId, object.imageId, call.Text(0)));
}

void SubmitButton(ScriptCall& call) {
  enum InputType : int32_t { kFirstWithoutText = 1, kLastWithoutText = 2, kText = 3 };
  Scriptable& object = call.scriptable;
  if (object.inputType == kText) {
    const JSObject input = call.Read(0);
    const Bstr wide = BstrOfExactLength(input.AsString());
    const auto length = static_cast<uint32_t>(input.AsString().size());
    call.result.Set(object.Display().SubmitInput(object.sessionId, object.imageId, length, wide.Get()));
  } else if (object.inputType >= kFirstWithoutText && object.inputType <= kLastWithoutText) {
    call.result.Set(object.Display().SubmitInput(object.sessionId, object.imageId, 0, nullptr));
  }
}

void ProcessSubmitAndGetResponse(ScriptCall& call) {
  Scriptable& object = call.scriptable;
  call.result.Set(object.Display().SubmitInputAndGetResponse(object.sessionId, object.imageId, call.result.keys));
}

void ClearButton(ScriptCall& call) {
  Scriptable& object = call.scriptable;
  call.result.Set(object.Display().ClearInput(object.sessionId, object.imageId));
}

void GetButtonUpCount(ScriptCall& call) {
  call.result.pluginCode = kPluginOk;
  call.result.keys["ButtonUpCount"] = JSObject(static_cast<int32_t>(call.scriptable.buttonUpCount));
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
