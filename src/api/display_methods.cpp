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

// Stores an operation's codes. True when the library has done what it was asked.
bool Done(ScriptCall& call, const Outcome& outcome) {
  call.result.Set(outcome);
  return outcome.status == kDisplayOk;
}

// The image stands: its window is watched from now on.
void ShowImage(Scriptable& page) {
  page.displayActive = 1;
  InstallDisplayHooks();
}

// Releases the image that stands from an earlier frame. True when the next one may come.
bool ReleaseRemoteImage(ScriptCall& call) {
  Scriptable& page = call.scriptable;
  return page.remoteImagePresent == 0 || Done(call, page.Display().ReleaseImage(page.sessionId, page.imageId));
}

// True also when the flag can't be read in time.
bool IsRepainting(const Scriptable& page) {
  const HANDLE mutex = page.repaintMutex.Get();
  if (!TakeMutex(mutex, kMaxRepaintWait)) return true;
  const uint32_t busy = page.repaintBusy;
  ReleaseMutex(mutex);
  return busy != 0;
}

void StoreFunction(ScriptCall& call, DisplayState::Callback DisplayState::*slot) {
  call.scriptable.*slot = call.scriptable.BridgeTo(call.ScriptObject(0));
}

}  // namespace

void Init(ScriptCall& call) {
  Scriptable& page = call.scriptable;
  if (page.displayActive == 0) {
    page.ClearSession();
    page.displayContext = 0;
  }
  if (Done(call, page.Display().Init(call.Number(0), call.Text(1), &page.displayContext))) {
    displayInitCount.Add(page.Life(), [&] { page.Display().DeInit(page.displayContext); });
  }
}

void EnterDeInit(Scriptable& page, bool /*accepted*/) {
  page.buttonUpCount = 0;
}

void DeInit(ScriptCall& call) {
  Scriptable& page = call.scriptable;
  if (displayInitCount.Total() > 1) {
    displayInitCount.GiveBackOne(page.Life());
  } else if (displayInitCount.Total() == 1 && page.Life().initialised) {
    call.result.Set(page.Display().DeInit(page.displayContext));
    page.displayActive = 0;
    page.displayContext = 0;
    EndClick(page);
    displayInitCount.Reset(page.Life());
  }
}

void EstablishSession(ScriptCall& call) {
  Scriptable& page = call.scriptable;
  const HWND window = page.Life().window;
  if (!window) return;
  const Outcome established = page.Display().EstablishSession(window, &page.sessionId, page.displayContext);
  if (!Done(call, established) && established.status != kSessionStands) return;
  if (!Done(call, page.Display().RegisterEvents(page.sessionId, DisplayEventCallback, window))) {
    call.result.pluginCode = kDisplayEventsFailed;
  }
}

void CloseSession(ScriptCall& call) {
  Scriptable& page = call.scriptable;
  if (IsRepainting(page)) return;
  call.result.Set(page.Display().CloseSession(page.sessionId));
  page.ClearSession();
  ResetClickState();
  EndClick(page);
}

void SendRecv(ScriptCall& call) {
  Scriptable& page = call.scriptable;
  call.result.Set(page.Display().SendRecv(page.displayContext, page.sessionId, call.Number(0), call.Length(1),
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
  Scriptable& page = call.scriptable;
  page.inputType = call.Number(0);
  page.imageId = call.Unsigned(1);
  int32_t width = 0;
  int32_t height = 0;
  if (!Done(call, page.Display().CreateStdImage(page.sessionId, page.inputType, page.imageId, call.Text(2),
                                                call.Text(3), call.Number(4), call.Text(5), call.Number(6),
                                                call.Number(8), call.Number(9), call.Text(10), call.Text(11),
                                                call.Length(11), &width, &height, call.result.keys))) {
    return;
  }
  call.result.Set(page.Display().RepaintImage(page.sessionId, page.imageId));
  page.imageWidth = width;
  page.imageHeight = height;
  ShowImage(page);
}

void SubmitFrame(ScriptCall& call) {
  Scriptable& page = call.scriptable;
  if (!ReleaseRemoteImage(call)) return;
  page.imageId = call.Unsigned(0);
  if (!Done(call,
            page.Display().SubmitFrame(page.sessionId, page.imageId, call.Text(1), call.Length(2), call.Text(2)))) {
    return;
  }
  page.remoteImagePresent = 1;
  page.displayActive = 1;
}

void EnterProcessRemote(Scriptable& /*page*/, bool accepted) {
  OutputDebugStringA("Plugin ProcessRemoteWys entered");
  if (!accepted) OutputDebugStringA("Plugin invalid args");
}

void ProcessRemoteWysMessage(ScriptCall& call) {
  Scriptable& page = call.scriptable;
  std::string domain;
  if (call.Text(4)) domain = page.PageOrigin();
  const bool replaces = page.remoteImagePresent != 0;
  const bool released = ReleaseRemoteImage(call);
  page.imageId = call.Unsigned(1);
  if (!released) return;
  if (!replaces) OutputDebugStringA("Plugin calling WYS RemoteWysSession");
  if (!Done(call, page.Display().ksvWYSRemoteWysSession(
                      page.displayContext, page.sessionId, page.imageId, call.Text(5), call.Length(5), call.Text(0),
                      call.Length(0), call.Text(2), call.Length(2), call.Length(3), call.Text(3), TextOrNull(domain),
                      call.Text(4), call.Text(6), call.Text(7), &page.imageWidth, &page.imageHeight))) {
    return;
  }
  page.remoteImagePresent = 1;
  ShowImage(page);
}

void RepaintImage(ScriptCall& call) {
  Scriptable& page = call.scriptable;
  call.result.Set(page.Display().RepaintImage(page.sessionId, page.imageId));
}

void CancelButton(ScriptCall& call) {
  Scriptable& page = call.scriptable;
  call.result.Set(page.Display().ReleaseImage(page.sessionId, page.imageId));
}

void MouseDown(ScriptCall& call) {
  Scriptable& page = call.scriptable;
  call.result.Set(page.Display().MouseDown(page.sessionId, page.imageId, call.Text(0)));
}

void MouseUp(ScriptCall& call) {
  Scriptable& page = call.scriptable;
  call.result.Set(page.Display().MouseUp(page.sessionId, page.imageId, call.Text(0)));
}

void SubmitButton(ScriptCall& call) {
  enum InputType : int32_t { kFirstWithoutText = 1, kLastWithoutText = 2, kText = 3 };
  Scriptable& page = call.scriptable;
  if (page.inputType == kText) {
    const JSObject input = call.Read(0);
    const Bstr wide = BstrOfExactLength(input.AsString());
    const auto length = static_cast<uint32_t>(input.AsString().size());
    call.result.Set(page.Display().SubmitInput(page.sessionId, page.imageId, length, wide.Get()));
  } else if (page.inputType >= kFirstWithoutText && page.inputType <= kLastWithoutText) {
    call.result.Set(page.Display().SubmitInput(page.sessionId, page.imageId, 0, nullptr));
  }
}

void ProcessSubmitAndGetResponse(ScriptCall& call) {
  Scriptable& page = call.scriptable;
  call.result.Set(page.Display().SubmitInputAndGetResponse(page.sessionId, page.imageId, call.result.keys));
}

void ClearButton(ScriptCall& call) {
  Scriptable& page = call.scriptable;
  call.result.Set(page.Display().ClearInput(page.sessionId, page.imageId));
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
