/// The script methods, one row each: name, operation, arguments. Dispatch, the test of the number of arguments and the
/// demands for text all follow from the row.
#pragma once

#include <string_view>

#include "api/agent_methods.h"
#include "api/display_methods.h"
#include "api/page_end.h"
#include "api/platform_methods.h"
#include "page/method.h"

namespace NorvoWebAPI::KSV {

namespace MethodTable {

using enum ArgumentKind;
using enum Arity;
using enum Answer;

// clang-format off
inline constexpr MethodRow kMethods[] = {
    {.name = "getPlatformInfo", .operation = PlatformMethods::GetPlatformInfo},
    {.name = "isUpdaterPromptRequired", .operation = PlatformMethods::IsUpdaterPromptRequired, .arity = IgnoresArguments},

    {.name = "zubInit", .operation = AgentMethods::Init},
    {.name = "zubDeInit", .operation = AgentMethods::DeInit},
    {.name = "zubStartProvisioning", .operation = AgentMethods::StartProvisioning, .arguments = {{Text, "name"}}},
    {.name = "zubEndProvisioning", .operation = AgentMethods::EndProvisioning,
     .arguments = {{Text, "name"}, {Number, "sessionHandle"}, {Number, "capacity"}, {Text, "tokenFileName"}}},
    {.name = "zubEndProvisioningDomainBinding", .operation = AgentMethods::EndProvisioningDomainBinding,
     .arguments = {{Text, "name"}, {Number, "sessionHandle"}, {Number, "capacity"}, {Text, "tokenFileName"},
                   {Flag, "bindToDomain"}, {Any, "secondDomain"}}},
    {.name = "zubSendData", .operation = AgentMethods::SendData,
     .arguments = {{Text, "name"}, {Number, "sessionHandle"}, {Number, "dataType"}, {Text, "b64Data"}}},
    {.name = "zubReceiveData", .operation = AgentMethods::ReceiveData,
     .arguments = {{Text, "name"}, {Number, "sessionHandle"}, {Number, "dataType"}, {Number, "capacity"}}},
    {.name = "zubProcessSVPMessage", .operation = AgentMethods::ProcessSVPMessage,
     .arguments = {{Text, "name"}, {Number, "sessionHandle"}, {Text, "b64Data"}}},
    {.name = "zubGetSVPMessage", .operation = AgentMethods::GetSVPMessage,
     .arguments = {{Text, "name"}, {Number, "sessionHandle"}, {Number, "capacity"}}},
    {.name = "zubSendAndReceiveData", .operation = AgentMethods::SendAndReceiveData,
     .arguments = {{Text, "name"}, {Number, "sessionHandle"}, {Number, "dataType"}, {Text, "b64Data"},
                   {Number, "capacity"}}},
    {.name = "zubGetCapabilities", .operation = AgentMethods::GetCapabilities,
     .arguments = {{Text, "name"}, {Number, "selector"}, {Number, "capacity"}}},
    {.name = "zubGetVersion", .operation = AgentMethods::GetVersion},
    {.name = "zubInstall", .operation = AgentMethods::Install, .arguments = {{Text, "appletId"}, {Text, "b64Applet"}}},
    {.name = "zubUninstall", .operation = AgentMethods::Uninstall, .arguments = {{Text, "appletId"}}},
    {.name = "zubDoFWUpdate", .operation = AgentMethods::DoFWUpdate},
    {.name = "zubGetOTP", .operation = AgentMethods::GetOTP,
     .arguments = {{Text, "name"}, {Number, "otpSelector"}, {Text, "b64EncToken"}, {Text, "b64Extra"},
                   {Number, "otpCapacity"}, {Number, "tokenCapacity"}, {Text, "tokenFileName"}}},
    {.name = "zubEnumerateTokensDomainBinding", .operation = AgentMethods::EnumerateTokensDomainBinding,
     .arity = IgnoresArguments},
    {.name = "zubDeleteTokenDomainBinding", .operation = AgentMethods::DeleteTokenDomainBinding,
     .arguments = {{Text, "tokenFileName"}}},
    {.name = "zubRegisterEventCallback", .operation = AgentMethods::RegisterEventCallback,
     .arguments = {{Text, "name"}, {Function, "callback"}}},
    {.name = "zubUnRegisterEventCallback", .operation = AgentMethods::UnRegisterEventCallback,
     .arguments = {{Text, "name"}}},
    {.name = "zubStopInstance", .operation = AgentMethods::StopInstance,
     .arguments = {{Number, "instanceID"}}, .arity = AllowsExtraArguments},
    {.name = "getInstanceID", .operation = AgentMethods::GetInstanceID, .arguments = {{Unread, "name"}}},
    {.name = "wysInit", .operation = DisplayMethods::Init,
     .arguments = {{Number, "initValue"}, {Text, "initText"}}, .answer = ResultStartingFailed},
    {.name = "wysEstablishSession", .operation = DisplayMethods::EstablishSession, .answer = ResultStartingFailed},
    {.name = "wysDeInit", .operation = DisplayMethods::DeInit,
     .answer = ResultStartingFailed, .atEntry = DisplayMethods::EnterDeInit},
    {.name = "wysCloseSession", .operation = DisplayMethods::CloseSession, .answer = ResultStartingFailed},
    {.name = "wysCreateStdImage", .operation = DisplayMethods::CreateStdImage,
     .arguments = {{Number, "inputType"}, {Unsigned, "imageId"}, {Text, "positionText"}, {Text, "imageSizeText"},
                   {Number, "valueA"}, {Text, "pointBText"}, {Number, "valueC"}, {Any, "unused"}, {Number, "valueD"},
                   {Number, "byteE"}, {Text, "logoSizeText"}, {Text, "logoText"}, {Any, "unused"}, {Any, "unused"}},
     .answer = ResultStartingFailed},
    {.name = "wysMouseDown", .operation = DisplayMethods::MouseDown,
     .arguments = {{Text, "pointText"}}, .answer = ResultStartingFailed},
    {.name = "wysMouseUp", .operation = DisplayMethods::MouseUp,
     .arguments = {{Text, "pointText"}}, .answer = ResultStartingFailed},
    {.name = "wysSubmitButton", .operation = DisplayMethods::SubmitButton,
     .arguments = {{Unread, "input"}}, .answer = ResultStartingFailed},
    {.name = "wysProcessSubmitAndGetResponse", .operation = DisplayMethods::ProcessSubmitAndGetResponse,
     .answer = ResultStartingFailed},
    {.name = "wysCancelButton", .operation = DisplayMethods::CancelButton, .answer = ResultStartingFailed},
    {.name = "wysClearButton", .operation = DisplayMethods::ClearButton, .answer = ResultStartingFailed},
    {.name = "wysSubmitFrame", .operation = DisplayMethods::SubmitFrame,
     .arguments = {{Unsigned, "imageId"}, {Text, "pointText"}, {Text, "b64Frame"}}, .answer = ResultStartingFailed},
    {.name = "wysSendRecv", .operation = DisplayMethods::SendRecv,
     .arguments = {{Number, "messageType"}, {Text, "b64Message"}, {Number, "capacity"}, {Unsigned, "flag"}},
     .answer = ResultStartingFailed},
    {.name = "wysRepaintImage", .operation = DisplayMethods::RepaintImage, .answer = ResultStartingFailed},
    {.name = "wysGetVersion", .operation = DisplayMethods::GetVersion, .answer = ResultStartingFailed},
    {.name = "wysStatusToString", .operation = DisplayMethods::StatusToString, .arguments = {{Number, "statusCode"}}},
    {.name = "setMouseDownCallback", .operation = DisplayMethods::SetMouseDownCallback,
     .arguments = {{Function, "callback"}}, .answer = None},
    {.name = "setMouseUpCallback", .operation = DisplayMethods::SetMouseUpCallback,
     .arguments = {{Function, "callback"}}, .answer = None},
    {.name = "setWindowEventCallback", .operation = DisplayMethods::SetWindowEventCallback,
     .arguments = {{Function, "callback"}}, .answer = None},
    {.name = "wysProcessRemoteWysMessage", .operation = DisplayMethods::ProcessRemoteWysMessage,
     .arguments = {{Text, "b64PartA"}, {Unsigned, "imageId"}, {Text, "b64PartB"}, {Text, "b64Token"},
                   {Text, "tokenFileName"}, {Text, "b64Frame"}, {Text, "framePointText"}, {Text, "imageSizeText"}},
     .answer = ResultStartingFailed, .atEntry = DisplayMethods::EnterProcessRemote},
    {.name = "wysGetButtonUpCount", .operation = DisplayMethods::GetButtonUpCount, .arity = IgnoresArguments},
    {.name = "setRepaintImageCallback", .operation = DisplayMethods::SetRepaintImageCallback,
     .arguments = {{Function, "callback"}}, .arity = AllowsExtraArguments, .answer = None},
    {.name = "setDisplayEventsCallback", .operation = DisplayMethods::SetDisplayEventsCallback,
     .arguments = {{Function, "callback"}}, .arity = AllowsExtraArguments, .answer = None},
};
// clang-format on

/// The row of a method that is in the table; another name doesn't compile.
consteval const MethodRow& RowOf(std::string_view name) {
  for (const MethodRow& row : kMethods) {
    if (name == row.name) return row;
  }
  throw "no such method";
}

}  // namespace MethodTable

using MethodTable::kMethods;
using MethodTable::RowOf;

/// The methods of every page's object, and what happens when a page ends.
inline constexpr ScriptApi kScriptApi{kMethods, EndPage};

}  // namespace NorvoWebAPI::KSV
