/// The script methods: name, operation and arguments of each in one row. Dispatch, the count and the demands all follow
/// from the row.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "api/agent_methods.h"
#include "api/display_methods.h"
#include "api/platform_methods.h"
#include "page/script_call.h"

namespace NorvoWebAPI::KSV {

/// What is asked of an argument. A number or a flag is made of any value; only text has to be text. A function is not
/// looked into, nor is a value that the operation may have no use for.
enum class Demand : uint8_t { Text, Number, Unsigned, Flag, Function, Any, Unread };

struct Argument {
  Demand demand = Demand::Any;
  const char* name = nullptr;
};

/// How many arguments a method accepts: the number of its row, more (which are not looked at), or any.
enum class Arity : uint8_t { Exact, AtLeast, Any };

/// What the page gets: a result object, the same with code 13 standing in it until an operation has another, or
/// nothing, where a call that was wrong fails.
enum class Answers : uint8_t { Result, FailedAtFirst, Nothing };

struct MethodRow {
  static constexpr size_t kMaxArguments = 14;

  const char* name;
  void (*operation)(ScriptCall& call);
  Arity arity;
  size_t argumentCount;
  std::array<Argument, kMaxArguments> arguments;
  Answers answers = Answers::Result;
  /// What is done before anything else, whatever becomes of the call.
  void (*entered)(Scriptable& page, bool accepted) = nullptr;

  [[nodiscard]] constexpr bool Accepts(uint32_t count) const {
    return arity == Arity::Any || count == argumentCount || (arity == Arity::AtLeast && count > argumentCount);
  }
};

namespace Rows {

template <Demand demand>
constexpr Argument As(const char* name) {
  return {demand, name};
}
inline constexpr auto& Text = As<Demand::Text>;
inline constexpr auto& Number = As<Demand::Number>;
/// A whole number whose low 32 bits count, beyond what fits a signed one too.
inline constexpr auto& Unsigned = As<Demand::Unsigned>;
inline constexpr auto& Flag = As<Demand::Flag>;
inline constexpr auto& Function = As<Demand::Function>;
inline constexpr auto& Any = As<Demand::Any>;
inline constexpr auto& Unread = As<Demand::Unread>;

template <typename... Arguments>
constexpr MethodRow Method(const char* name, void (*operation)(ScriptCall&), Arguments... arguments) {
  return {name, operation, Arity::Exact, sizeof...(arguments), {arguments...}};
}

/// Takes further arguments too, and doesn't look at them.
template <typename... Arguments>
constexpr MethodRow Open(const char* name, void (*operation)(ScriptCall&), Arguments... arguments) {
  return {name, operation, Arity::AtLeast, sizeof...(arguments), {arguments...}};
}

/// Looks at no argument, so that any number of them will do.
constexpr MethodRow Heedless(const char* name, void (*operation)(ScriptCall&)) {
  return {name, operation, Arity::Any, 0, {}};
}

constexpr MethodRow Answering(Answers answers, MethodRow row) {
  row.answers = answers;
  return row;
}

/// A method of the display, which has failed until its operation says otherwise.
template <typename... Arguments>
constexpr MethodRow Display(const char* name, void (*operation)(ScriptCall&), Arguments... arguments) {
  return Answering(Answers::FailedAtFirst, Method(name, operation, arguments...));
}

/// Stores the page's function.
constexpr MethodRow Setter(const char* name, void (*operation)(ScriptCall&)) {
  return Answering(Answers::Nothing, Method(name, operation, Function("callback")));
}

constexpr MethodRow Entering(void (*entered)(Scriptable&, bool), MethodRow row) {
  row.entered = entered;
  return row;
}

inline constexpr auto kMethods = std::to_array<MethodRow>({
    Method("getPlatformInfo", PlatformMethods::GetPlatformInfo),
    Heedless("isUpdaterPromptRequired", PlatformMethods::IsUpdaterPromptRequired),
    Method("zubInit", AgentMethods::Init),
    Method("zubDeInit", AgentMethods::DeInit),
    Method("zubStartProvisioning", AgentMethods::StartProvisioning, Text("name")),
    Method("zubEndProvisioning", AgentMethods::EndProvisioning, Text("name"), Number("sessionHandle"),
           Number("capacity"), Text("tokenFileName")),
    Method("zubEndProvisioningDomainBinding", AgentMethods::EndProvisioningDomainBinding, Text("name"),
           Number("sessionHandle"), Number("capacity"), Text("tokenFileName"), Flag("bindToDomain"),
           Any("secondDomain")),
    Method("zubSendData", AgentMethods::SendData, Text("name"), Number("sessionHandle"), Number("dataType"),
           Text("b64Data")),
    Method("zubReceiveData", AgentMethods::ReceiveData, Text("name"), Number("sessionHandle"), Number("dataType"),
           Number("capacity")),
    Method("zubProcessSVPMessage", AgentMethods::ProcessSVPMessage, Text("name"), Number("sessionHandle"),
           Text("b64Data")),
    Method("zubGetSVPMessage", AgentMethods::GetSVPMessage, Text("name"), Number("sessionHandle"), Number("capacity")),
    Method("zubSendAndReceiveData", AgentMethods::SendAndReceiveData, Text("name"), Number("sessionHandle"),
           Number("dataType"), Text("b64Data"), Number("capacity")),
    Method("zubGetCapabilities", AgentMethods::GetCapabilities, Text("name"), Number("selector"), Number("capacity")),
    Method("zubGetVersion", AgentMethods::GetVersion),
    Method("zubInstall", AgentMethods::Install, Text("appletId"), Text("b64Applet")),
    Method("zubUninstall", AgentMethods::Uninstall, Text("appletId")),
    Method("zubDoFWUpdate", AgentMethods::DoFWUpdate),
    Method("zubGetOTP", AgentMethods::GetOTP, Text("name"), Number("otpSelector"), Text("b64EncToken"),
           Text("b64Extra"), Number("otpCapacity"), Number("tokenCapacity"), Text("tokenFileName")),
    Heedless("zubEnumerateTokensDomainBinding", AgentMethods::EnumerateTokensDomainBinding),
    Method("zubDeleteTokenDomainBinding", AgentMethods::DeleteTokenDomainBinding, Text("tokenFileName")),
    Method("zubRegisterEventCallback", AgentMethods::RegisterEventCallback, Text("name"), Function("callback")),
    Method("zubUnRegisterEventCallback", AgentMethods::UnRegisterEventCallback, Text("name")),
    Open("zubStopInstance", AgentMethods::StopInstance, Number("instanceID")),
    Method("getInstanceID", AgentMethods::GetInstanceID, Any("name")),
    Display("wysInit", DisplayMethods::Init, Number("initValue"), Text("initText")),
    Display("wysEstablishSession", DisplayMethods::EstablishSession),
    Entering(DisplayMethods::EnterDeInit, Display("wysDeInit", DisplayMethods::DeInit)),
    Display("wysCloseSession", DisplayMethods::CloseSession),
    Display("wysCreateStdImage", DisplayMethods::CreateStdImage, Number("inputType"), Unsigned("imageId"),
            Text("originText"), Text("imageSizeText"), Number("valueA"), Text("pointBText"), Number("valueC"),
            Any("unused"), Number("valueD"), Number("byteE"), Text("logoSizeText"), Text("logoText"), Any("unused"),
            Any("unused")),
    Display("wysMouseDown", DisplayMethods::MouseDown, Text("pointText")),
    Display("wysMouseUp", DisplayMethods::MouseUp, Text("pointText")),
    Display("wysSubmitButton", DisplayMethods::SubmitButton, Unread("input")),
    Display("wysProcessSubmitAndGetResponse", DisplayMethods::ProcessSubmitAndGetResponse),
    Display("wysCancelButton", DisplayMethods::CancelButton),
    Display("wysClearButton", DisplayMethods::ClearButton),
    Display("wysSubmitFrame", DisplayMethods::SubmitFrame, Unsigned("imageId"), Text("pointText"), Text("b64Frame")),
    Display("wysSendRecv", DisplayMethods::SendRecv, Number("messageType"), Text("b64Message"), Number("capacity"),
            Unsigned("flag")),
    Display("wysRepaintImage", DisplayMethods::RepaintImage),
    Display("wysGetVersion", DisplayMethods::GetVersion),
    Method("wysStatusToString", DisplayMethods::StatusToString, Number("statusCode")),
    Setter("setMouseDownCallback", DisplayMethods::SetMouseDownCallback),
    Setter("setMouseUpCallback", DisplayMethods::SetMouseUpCallback),
    Setter("setWindowEventCallback", DisplayMethods::SetWindowEventCallback),
    Entering(DisplayMethods::EnterProcessRemote,
             Display("wysProcessRemoteWysMessage", DisplayMethods::ProcessRemoteWysMessage, Text("b64PartA"),
                     Unsigned("imageId"), Text("b64PartB"), Text("b64Token"), Text("tokenFileName"), Text("b64Frame"),
                     Text("framePointText"), Text("imageSizeText"))),
    Heedless("wysGetButtonUpCount", DisplayMethods::GetButtonUpCount),
    Setter("setRepaintImageCallback", DisplayMethods::SetRepaintImageCallback),
    Setter("setDisplayEventsCallback", DisplayMethods::SetDisplayEventsCallback),
});

/// The row of a method that is in the table; another name does not compile.
consteval const MethodRow& RowOf(std::string_view name) {
  for (const MethodRow& row : kMethods) {
    if (name == row.name) return row;
  }
  throw "no such method";
}

}  // namespace Rows

using Rows::kMethods;
using Rows::RowOf;

}  // namespace NorvoWebAPI::KSV
