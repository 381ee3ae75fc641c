/// The script methods: name, operation and arguments of each in one row. Dispatch, the count and the demands all follow
/// from the row.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "api/agent_methods.h"
#include "api/script_call.h"

namespace NorvoWebAPI::KSV {

/// What is asked of an argument. A number or a flag is made of any value; only text has to be text, and a function is
/// not looked into.
enum class Demand : uint8_t { Text, Number, Flag, Function, Any };

struct Argument {
  Demand demand = Demand::Any;
  const char* name = nullptr;
};

/// How many arguments a method accepts: the number of its row, more (which are not looked at), or any.
enum class Arity : uint8_t { Exact, AtLeast, Any };

struct MethodRow {
  static constexpr size_t kMaxArguments = 14;

  const char* name;
  void (*operation)(ScriptCall& call);
  Arity arity;
  size_t argumentCount;
  std::array<Argument, kMaxArguments> arguments;

  [[nodiscard]] constexpr bool Accepts(uint32_t count) const {
    return arity == Arity::Any || count == argumentCount || (arity == Arity::AtLeast && count > argumentCount);
  }
};

namespace Rows {

constexpr Argument Text(const char* name) {
  return {Demand::Text, name};
}
constexpr Argument Number(const char* name) {
  return {Demand::Number, name};
}
constexpr Argument Flag(const char* name) {
  return {Demand::Flag, name};
}
constexpr Argument Function(const char* name) {
  return {Demand::Function, name};
}
constexpr Argument Any(const char* name) {
  return {Demand::Any, name};
}

template <typename... Arguments>
constexpr MethodRow Method(const char* name, void (*operation)(ScriptCall&), Arguments... arguments) {
  return {name, operation, Arity::Exact, sizeof...(arguments), {arguments...}};
}

template <typename... Arguments>
constexpr MethodRow Open(const char* name, void (*operation)(ScriptCall&), Arguments... arguments) {
  return {name, operation, Arity::AtLeast, sizeof...(arguments), {arguments...}};
}

/// Looks at no argument, so that any number of them will do.
constexpr MethodRow Heedless(const char* name, void (*operation)(ScriptCall&)) {
  return {name, operation, Arity::Any, 0, {}};
}

}  // namespace Rows

// clang-format off
inline constexpr auto kMethods = std::to_array<MethodRow>({
    Rows::Method("zubInit", AgentMethods::Init),
    Rows::Method("zubDeInit", AgentMethods::DeInit),
    Rows::Method("zubStartProvisioning", AgentMethods::StartProvisioning, Rows::Text("name")),
    Rows::Method("zubEndProvisioning", AgentMethods::EndProvisioning, Rows::Text("name"), Rows::Number("sessionHandle"), Rows::Number("capacity"), Rows::Text("tokenFileName")),
    Rows::Method("zubEndProvisioningDomainBinding", AgentMethods::EndProvisioningDomainBinding, Rows::Text("name"), Rows::Number("sessionHandle"), Rows::Number("capacity"), Rows::Text("tokenFileName"), Rows::Flag("bindToDomain"), Rows::Any("secondDomain")),
    Rows::Method("zubSendData", AgentMethods::SendData, Rows::Text("name"), Rows::Number("sessionHandle"), Rows::Number("dataType"), Rows::Text("b64Data")),
    Rows::Method("zubReceiveData", AgentMethods::ReceiveData, Rows::Text("name"), Rows::Number("sessionHandle"), Rows::Number("dataType"), Rows::Number("capacity")),
    Rows::Method("zubProcessSVPMessage", AgentMethods::ProcessSVPMessage, Rows::Text("name"), Rows::Number("sessionHandle"), Rows::Text("b64Data")),
    Rows::Method("zubGetSVPMessage", AgentMethods::GetSVPMessage, Rows::Text("name"), Rows::Number("sessionHandle"), Rows::Number("capacity")),
    Rows::Method("zubSendAndReceiveData", AgentMethods::SendAndReceiveData, Rows::Text("name"), Rows::Number("sessionHandle"), Rows::Number("dataType"), Rows::Text("b64Data"), Rows::Number("capacity")),
    Rows::Method("zubGetCapabilities", AgentMethods::GetCapabilities, Rows::Text("name"), Rows::Number("selector"), Rows::Number("capacity")),
    Rows::Method("zubGetVersion", AgentMethods::GetVersion),
    Rows::Method("zubInstall", AgentMethods::Install, Rows::Text("appletId"), Rows::Text("b64Applet")),
    Rows::Method("zubUninstall", AgentMethods::Uninstall, Rows::Text("appletId")),
    Rows::Method("zubDoFWUpdate", AgentMethods::DoFWUpdate),
    Rows::Method("zubGetOTP", AgentMethods::GetOTP, Rows::Text("name"), Rows::Number("otpSelector"), Rows::Text("b64EncToken"), Rows::Text("b64Extra"), Rows::Number("otpCapacity"), Rows::Number("tokenCapacity"), Rows::Text("tokenFileName")),
    Rows::Heedless("zubEnumerateTokensDomainBinding", AgentMethods::EnumerateTokensDomainBinding),
    Rows::Method("zubDeleteTokenDomainBinding", AgentMethods::DeleteTokenDomainBinding, Rows::Text("tokenFileName")),
    Rows::Method("zubRegisterEventCallback", AgentMethods::RegisterEventCallback, Rows::Text("name"), Rows::Function("callback")),
    Rows::Method("zubUnRegisterEventCallback", AgentMethods::UnRegisterEventCallback, Rows::Text("name")),
    Rows::Open("zubStopInstance", AgentMethods::StopInstance, Rows::Number("instanceID")),
    Rows::Method("getInstanceID", AgentMethods::GetInstanceID, Rows::Any("name")),
});
// clang-format on

}  // namespace NorvoWebAPI::KSV
