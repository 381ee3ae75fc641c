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

/// Takes further arguments too, and doesn't look at them.
template <typename... Arguments>
constexpr MethodRow Open(const char* name, void (*operation)(ScriptCall&), Arguments... arguments) {
  return {name, operation, Arity::AtLeast, sizeof...(arguments), {arguments...}};
}

/// Looks at no argument, so that any number of them will do.
constexpr MethodRow Heedless(const char* name, void (*operation)(ScriptCall&)) {
  return {name, operation, Arity::Any, 0, {}};
}

inline constexpr auto kMethods = std::to_array<MethodRow>({
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
});

}  // namespace Rows

using Rows::kMethods;

}  // namespace NorvoWebAPI::KSV
