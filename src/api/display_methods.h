#pragma once

namespace NorvoWebAPI::KSV {

class ScriptCall;
class Scriptable;

/// The script methods of the display; docs/page-api.md tells what each takes and gives.
namespace DisplayMethods {

void Init(ScriptCall& call);
/// The count of clicks starts anew, whatever becomes of the call.
void EnterDeInit(Scriptable& page, bool accepted);
void DeInit(ScriptCall& call);
void EstablishSession(ScriptCall& call);
void CloseSession(ScriptCall& call);
void SendRecv(ScriptCall& call);
void GetVersion(ScriptCall& call);
void StatusToString(ScriptCall& call);

void CreateStdImage(ScriptCall& call);
void SubmitFrame(ScriptCall& call);
void EnterProcessRemote(Scriptable& page, bool accepted);
void ProcessRemoteWysMessage(ScriptCall& call);
void RepaintImage(ScriptCall& call);
void CancelButton(ScriptCall& call);

void MouseDown(ScriptCall& call);
void MouseUp(ScriptCall& call);
void SubmitButton(ScriptCall& call);
void ProcessSubmitAndGetResponse(ScriptCall& call);
void ClearButton(ScriptCall& call);
void GetButtonUpCount(ScriptCall& call);

void SetMouseDownCallback(ScriptCall& call);
void SetMouseUpCallback(ScriptCall& call);
void SetWindowEventCallback(ScriptCall& call);
void SetRepaintImageCallback(ScriptCall& call);
void SetDisplayEventsCallback(ScriptCall& call);

}  // namespace DisplayMethods
}  // namespace NorvoWebAPI::KSV
