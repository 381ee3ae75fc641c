#include "api/agent_methods.h"

#include <optional>
#include <string>

#include "base/debug_log.h"
#include "base/result_codes.h"
#include "hooks/event_template.h"
#include "page/init_count.h"
#include "page/script_call.h"
#include "page/scriptable.h"
#include "tokens/origin.h"

namespace NorvoWebAPI::KSV::AgentMethods {
namespace {

// The data type of SVP messages in the instance generation, which has no entry points of their own for them.
constexpr int32_t kSVPMessage = 600;

void LogInitCount(ScriptCall& call, const char* word) {
  DebugLog(call.scriptable.Agent().LogEnabled(), "pPlugin-refcount", "%s-%d\n", word, agentInitCount.Total());
}

// Runs an operation on the target that the first argument names.
template <typename Operation>
void OnTarget(ScriptCall& call, Operation operation) {
  if (const std::optional<AgentTarget> target = call.Target()) {
    call.result.Set(operation(call.scriptable.Agent(), *target));
  }
}

// Ends a provisioning session; the token is stored for the domains, or outside all domains without any.
void EndSession(ScriptCall& call, const std::string& domain, const std::string& secondDomain) {
  OnTarget(call, [&](CKSVPluginZUB& agent, const AgentTarget& target) {
    return agent.EndProvisioning(target, call.Number(1), call.Number(2), TextOrNull(domain), TextOrNull(secondDomain),
                                 call.Text(3), call.result.keys);
  });
}

}  // namespace

void Init(ScriptCall& call) {
  call.result.Set(call.scriptable.Agent().Init());
  if (call.result.status == kAgentOk) {
    agentInitCount.AddOrUndo(call.scriptable.Life(), [&] { call.scriptable.Agent().Deinit(); });
  }
  LogInitCount(call, "Init");
}

void DeInit(ScriptCall& call) {
  const std::shared_ptr<PageLife>& life = call.scriptable.SharedLife();
  CKSVPluginZUB& agent = call.scriptable.Agent();
  switch (agentInitCount.Decrement(*life)) {
    case InitCount::Release::OneOfSeveral:
      if (call.scriptable.IsInstanceGeneration()) {
        EventTemplate::StopPluginInstances(*life, agent, call.result.keys);
      } else {
        EventTemplate::UnRegisterPlugin(*life, agent);
      }
      break;
    case InitCount::Release::Last:
      if (call.scriptable.IsInstanceGeneration()) {
        EventTemplate::ClearInstanceEvents(*life);
      } else {
        EventTemplate::ClearEvents();
      }
      agent.Deinit();
      break;
    case InitCount::Release::Nothing:
      break;
  }
  // Always 0 and 0: a failed release is not reported.
  call.result.Set({kPluginOk, kAgentOk});
  LogInitCount(call, "DeInit");
}

void StartProvisioning(ScriptCall& call) {
  OnTarget(call, [&](CKSVPluginZUB& agent, const AgentTarget& target) {
    return agent.StartProvisioning(target, call.result.keys);
  });
}

void EndProvisioning(ScriptCall& call) {
  EndSession(call, {}, {});
}

void EndProvisioningDomainBinding(ScriptCall& call) {
  std::string domain;
  std::string secondDomain;
  if (call.Flag(4) && call.Text(3)) {
    domain = call.scriptable.PageOrigin();
    secondDomain = call.String(5);
    NormalizeOrigin(secondDomain);
  }
  EndSession(call, domain, secondDomain);
}

void SendData(ScriptCall& call) {
  OnTarget(call, [&](CKSVPluginZUB& agent, const AgentTarget& target) {
    return agent.SendData(target, call.Number(1), call.Number(2), call.Length(3), call.Text(3));
  });
}

void ReceiveData(ScriptCall& call) {
  OnTarget(call, [&](CKSVPluginZUB& agent, const AgentTarget& target) {
    return agent.RecvData(target, call.Number(1), call.Number(2), call.Number(3), call.result.keys);
  });
}

void ProcessSVPMessage(ScriptCall& call) {
  OnTarget(call, [&](CKSVPluginZUB& agent, const AgentTarget& target) {
    if (target.tag == AgentTarget::kInstance) {
      return agent.SendData(target, call.Number(1), kSVPMessage, call.Length(2), call.Text(2));
    }
    return agent.ProcessSVP(call.Text(0), call.Number(1), call.Length(2), call.Text(2));
  });
}

void GetSVPMessage(ScriptCall& call) {
  OnTarget(call, [&](CKSVPluginZUB& agent, const AgentTarget& target) {
    if (target.tag == AgentTarget::kInstance) {
      return agent.RecvData(target, call.Number(1), kSVPMessage, call.Number(2), call.result.keys);
    }
    return agent.GetSVP(call.Text(0), call.Number(1), call.Number(2), call.result.keys);
  });
}

void SendAndReceiveData(ScriptCall& call) {
  OnTarget(call, [&](CKSVPluginZUB& agent, const AgentTarget& target) {
    return agent.SendAndRecvData(target, call.Number(1), call.Number(2), call.Length(3), call.Text(3), call.Number(4),
                                 call.result.keys);
  });
}

void GetCapabilities(ScriptCall& call) {
  call.result.Set(call.scriptable.Agent().GetCaps(call.Text(0), call.Number(1), call.Number(2), call.result.keys));
}

void GetVersion(ScriptCall& call) {
  call.result.Set(call.scriptable.Agent().GetVersion(call.result.keys));
}

void Install(ScriptCall& call) {
  call.result.Set(call.scriptable.Agent().Install(call.Text(0), call.Text(1), call.Length(1)));
}

void Uninstall(ScriptCall& call) {
  call.result.Set(call.scriptable.Agent().Uninstall(call.Text(0)));
}

void DoFWUpdate(ScriptCall& call) {
  call.result.Set(call.scriptable.Agent().DoFWUpdate());
}

void GetOTP(ScriptCall& call) {
  std::string domain = call.scriptable.PageOrigin();
  // A second time: it replaces a further colon, as in a host that is an IPv6 address.
  NormalizeOrigin(domain);
  OnTarget(call, [&](CKSVPluginZUB& agent, const AgentTarget& target) {
    return agent.GetOTP(target, call.Number(1), call.Length(2), call.Text(2), call.Length(3), call.Text(3),
                        call.Number(4), call.Number(5), TextOrNull(domain), call.Text(6), call.result.keys);
  });
}

// Without an origin no operation runs, and the page gets null.
void EnumerateTokensDomainBinding(ScriptCall& call) {
  const std::string domain = call.scriptable.PageOrigin();
  if (!domain.empty()) call.result.Set(call.scriptable.Agent().EnumTokens(domain.c_str(), call.result.keys));
}

void DeleteTokenDomainBinding(ScriptCall& call) {
  const std::string domain = call.scriptable.PageOrigin();
  if (!domain.empty()) call.result.Set(call.scriptable.Agent().DelTokens(domain.c_str(), call.Text(0)));
}

}  // namespace NorvoWebAPI::KSV::AgentMethods
