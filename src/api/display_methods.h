#pragma once

namespace NorvoWebAPI::KSV {

class ScriptCall;
class Scriptable;

/// The operations of the display's script methods.
namespace DisplayMethods {

void Init(ScriptCall& call);
/// Resets the count of clicks, also when the call has wrong arguments.
void EnterDeInit(Scriptable& page, bool accepted);
void DeInit(ScriptCall& call);
void EstablishSession(ScriptCall& call);
void CloseSession(ScriptCall& call);
void SendRecv(ScriptCall& call);
void GetVersion(ScriptCall& call);
void StatusToString(ScriptCall& call);

void CreateStdImage(ScriptCall& call);
void SubmitFrame(ScriptCall& call);
/// Writes the method's debug texts.
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
