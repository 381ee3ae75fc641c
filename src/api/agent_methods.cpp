#include "api/agent_methods.h"

#include <string>

#include "base/debug_log.h"
#include "base/result_codes.h"
#include "base/text.h"
#include "hooks/event_template.h"
#include "page/plugin.h"
#include "page/script_call.h"
#include "page/scriptable.h"

namespace NorvoWebAPI::KSV::AgentMethods {
namespace {

// Marks the messages of the first generation's own entry points among the data of the instance generation.
constexpr int32_t kSVPMessage = 600;

void LogInitCount(ScriptCall& call, const char* word) {
  DebugLog(call.page.Agent().LogEnabled(), "pPlugin-refcount", "%s-%d\n", word, agentInitCount);
}

}  // namespace

void Init(ScriptCall& call) {
  call.page.Agent().Init(call.result);
  if (StatusOf(call.result) == kAgentOk) {
    agentInitialisations.Enter(call.page.Page());
  }
  LogInitCount(call, "Init");
}

void DeInit(ScriptCall& call) {
  Plugin& plugin = call.page.Page();
  CKSVPluginZUB& agent = call.page.Agent();
  // Asked before anything is given back: the library may let the host run for it.
  const bool byInstance = agentInitialisations.MayGiveBack(plugin) && call.IsInstanceGeneration();
  switch (agentInitialisations.GiveBack(plugin)) {
    case Initialisations::Returned::OneOfMany:
      if (byInstance) EventTemplate::StopPluginInstances(&plugin, agent, call.result);
      if (!byInstance) EventTemplate::UnRegisterPlugin(&plugin, agent, call.result);
      break;
    case Initialisations::Returned::Last:
      if (byInstance) EventTemplate::ClearInstanceEvents(&plugin);
      if (!byInstance) EventTemplate::ClearEvents();
      agent.Deinit(call.result);
      break;
    case Initialisations::Returned::Nothing:
      break;
  }
  // A page learns nothing of how the release went: there is nothing that it could do.
  StoreStatus(call.result, kAgentOk);
  StorePluginCode(call.result, kPluginOk);
  LogInitCount(call, "DeInit");
}

void StartProvisioning(ScriptCall& call) {
  call.page.Agent().StartProvisioning(call.Target(), call.result);
}

void EndProvisioning(ScriptCall& call) {
  call.page.Agent().EndProvisioning(call.Target(), call.Number(1), call.Number(2), nullptr, nullptr, call.Text(3),
                                    call.result);
}

void EndProvisioningDomainBinding(ScriptCall& call) {
  std::string domain;
  std::string secondDomain;
  if (call.Flag(4) && call.Text(3)) {
    domain = call.page.PageOrigin();
    secondDomain = call.String(5);
    NormalizeOrigin(secondDomain);
  }
  call.page.Agent().EndProvisioning(call.Target(), call.Number(1), call.Number(2), TextOrNull(domain),
                                    TextOrNull(secondDomain), call.Text(3), call.result);
}

void SendData(ScriptCall& call) {
  call.page.Agent().SendData(call.Target(), call.Number(1), call.Number(2), call.Length(3), call.Text(3), call.result);
}

void ReceiveData(ScriptCall& call) {
  call.page.Agent().RecvData(call.Target(), call.Number(1), call.Number(2), call.Number(3), call.result);
}

void ProcessSVPMessage(ScriptCall& call) {
  const AgentTarget target = call.Target();
  if (target.tag == AgentTarget::kInstance) {
    call.page.Agent().SendData(target, call.Number(1), kSVPMessage, call.Length(2), call.Text(2), call.result);
  } else {
    call.page.Agent().ProcessSVP(call.Text(0), call.Number(1), call.Length(2), call.Text(2), call.result);
  }
}

void GetSVPMessage(ScriptCall& call) {
  const AgentTarget target = call.Target();
  if (target.tag == AgentTarget::kInstance) {
    call.page.Agent().RecvData(target, call.Number(1), kSVPMessage, call.Number(2), call.result);
  } else {
    call.page.Agent().GetSVP(call.Text(0), call.Number(1), call.Number(2), call.result);
  }
}

void SendAndReceiveData(ScriptCall& call) {
  call.page.Agent().SendAndRecvData(call.Target(), call.Number(1), call.Number(2), call.Length(3), call.Text(3),
                                    call.Number(4), call.result);
}

void GetCapabilities(ScriptCall& call) {
  call.page.Agent().GetCaps(call.Text(0), call.Number(1), call.Number(2), call.result);
}

void GetVersion(ScriptCall& call) {
  call.page.Agent().GetVersion(call.result);
}

void Install(ScriptCall& call) {
  call.page.Agent().Install(call.Text(0), call.Text(1), call.Length(1), call.result);
}

void Uninstall(ScriptCall& call) {
  call.page.Agent().Uninstall(call.Text(0), call.result);
}

void DoFWUpdate(ScriptCall& call) {
  call.page.Agent().DoFWUpdate(call.result);
}

void GetOTP(ScriptCall& call) {
  std::string domain = call.page.PageOrigin();
  // Once more than the token store's other methods: it turns a further colon, such as in a host given by number.
  NormalizeOrigin(domain);
  call.page.Agent().GetOTP(call.Target(), call.Number(1), call.Length(2), call.Text(2), call.Length(3), call.Text(3),
                           call.Number(4), call.Number(5), TextOrNull(domain), call.Text(6), call.result);
}

void EnumerateTokensDomainBinding(ScriptCall& call) {
  const std::string domain = call.page.PageOrigin();
  if (!domain.empty()) call.page.Agent().EnumTokens(domain.c_str(), call.result);
}

void DeleteTokenDomainBinding(ScriptCall& call) {
  const std::string domain = call.page.PageOrigin();
  if (!domain.empty()) call.page.Agent().DelTokens(domain.c_str(), call.Text(0), call.result);
}

}  // namespace NorvoWebAPI::KSV::AgentMethods
