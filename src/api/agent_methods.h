#pragma once

namespace NorvoWebAPI::KSV {

class ScriptCall;

/// The operations of the agent's script methods. Those for events and instances are in event_methods.cpp.
namespace AgentMethods {

void Init(ScriptCall& call);
void DeInit(ScriptCall& call);
void StartProvisioning(ScriptCall& call);
void EndProvisioning(ScriptCall& call);
void EndProvisioningDomainBinding(ScriptCall& call);
void SendData(ScriptCall& call);
void ReceiveData(ScriptCall& call);
void ProcessSVPMessage(ScriptCall& call);
void GetSVPMessage(ScriptCall& call);
void SendAndReceiveData(ScriptCall& call);
void GetCapabilities(ScriptCall& call);
void GetVersion(ScriptCall& call);
void Install(ScriptCall& call);
void Uninstall(ScriptCall& call);
void DoFWUpdate(ScriptCall& call);
void GetOTP(ScriptCall& call);
void EnumerateTokensDomainBinding(ScriptCall& call);
void DeleteTokenDomainBinding(ScriptCall& call);
void RegisterEventCallback(ScriptCall& call);
void UnRegisterEventCallback(ScriptCall& call);
void StopInstance(ScriptCall& call);
void GetInstanceID(ScriptCall& call);

}  // namespace AgentMethods

}  // namespace NorvoWebAPI::KSV
