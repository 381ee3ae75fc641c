// Provisioning: a session that a page opens, feeds and ends, and the operations that share its exchange of buffers.
#include "agent/agent_operation.h"
#include "agent/cksv_plugin_zub.h"
#include "tokens/token_store.h"

namespace NorvoWebAPI::KSV {
namespace {

constexpr char kB64Data[] = "b64Data";
constexpr char kRequiredDataLen[] = "requiredDataLen";

int32_t LengthOf(const ByteBuffer& input) {
  return static_cast<int32_t>(input.size);
}

}  // namespace

Outcome CKSVPluginZUB::StartProvisioning(const AgentTarget& target, JSObject& result) {
  return Run("StartProvisioning", entries.StartProvisioning, CodedExceptions::None, [&](Outcome& outcome) {
    uint32_t session = 0;
    CallTarget(target, entries.StartProvisioning, entries.StartProvisioning3, outcome, &session);
    if (outcome.status == kAgentOk) result["sessionHandle"] = JSObject(static_cast<int32_t>(session));
  });
}

Outcome CKSVPluginZUB::EndProvisioning(const AgentTarget& target, int32_t sessionHandle, int32_t capacity,
                                       const char* domain, const char* secondDomain, const char* tokenFileName,
                                       JSObject& result) {
  return Run("EndProvisioning", entries.EndProvisioning, CodedExceptions::All, [&](Outcome& outcome) {
    AgentOutput token = AgentOutput::OfWhole(capacity);
    CallTarget(target, entries.EndProvisioning, entries.EndProvisioning3, outcome, sessionHandle, token.Length(),
               token.Bytes());
    if (outcome.status == kAgentBufferTooSmall) token.StoreRequired(result, "requiredEncTokenLen");
    // The page gets the token before it is stored: if the store fails, the page still has it.
    if (outcome.status != kAgentOk) return;
    if (const uint16_t stored = token.StoreData(result, "b64EncToken"); stored > 0 && tokenFileName && *tokenFileName) {
      TokenStore::Write(domain, secondDomain, tokenFileName, token.Bytes(), stored);
    }
  });
}

Outcome CKSVPluginZUB::SendData(const AgentTarget& target, int32_t sessionHandle, int32_t dataType, int32_t textLength,
                                const char* b64Text) {
  return Run("SendData", entries.SendData, CodedExceptions::BadAlloc, [&](Outcome& outcome) {
    const ByteBuffer data = DecodeBase64(b64Text, textLength);
    CallTarget(target, entries.SendData, entries.SendData3, outcome, sessionHandle, dataType, LengthOf(data),
               data.bytes.get());
  });
}

Outcome CKSVPluginZUB::RecvData(const AgentTarget& target, int32_t sessionHandle, int32_t dataType, int32_t capacity,
                                JSObject& result) {
  return Run("RecvData", entries.ReceiveData, CodedExceptions::BadAlloc, [&](Outcome& outcome) {
    AgentOutput data = AgentOutput::OfWhole(capacity);
    CallTarget(target, entries.ReceiveData, entries.ReceiveData3, outcome, sessionHandle, dataType, data.Length(),
               data.Bytes());
    data.StoreAnswer(result, outcome.status, kRequiredDataLen, kB64Data);
  });
}

Outcome CKSVPluginZUB::ProcessSVP(const char* name, int32_t sessionHandle, int32_t textLength, const char* b64Text) {
  return Run("ProcessSVP", entries.ProcessSVPMessage, CodedExceptions::BadAlloc, [&](Outcome& outcome) {
    const ByteBuffer data = DecodeBase64(b64Text, textLength);
    outcome.status = entries.ProcessSVPMessage(name, sessionHandle, LengthOf(data), data.bytes.get());
  });
}

Outcome CKSVPluginZUB::GetSVP(const char* name, int32_t sessionHandle, int32_t capacity, JSObject& result) {
  return Run("GetSVP", entries.GetSVPMessage, CodedExceptions::BadAlloc, [&](Outcome& outcome) {
    AgentOutput data = AgentOutput::OfWhole(capacity);
    outcome.status = entries.GetSVPMessage(name, sessionHandle, data.Length(), data.Bytes());
    data.StoreAnswer(result, outcome.status, kRequiredDataLen, kB64Data);
  });
}

Outcome CKSVPluginZUB::SendAndRecvData(const AgentTarget& target, int32_t sessionHandle, int32_t dataType,
                                       int32_t textLength, const char* b64Text, int32_t capacity, JSObject& result) {
  return Run("SendAndRecvData", entries.SendAndReceiveData, CodedExceptions::BadAlloc, [&](Outcome& outcome) {
    AgentOutput answer = AgentOutput::OfWhole(capacity);
    const ByteBuffer sent = DecodeOptional(b64Text, textLength);
    CallTarget(target, entries.SendAndReceiveData, entries.SendAndReceiveData3, outcome, sessionHandle, dataType,
               LengthOf(sent), sent.bytes.get(), answer.Length(), answer.Bytes());
    answer.StoreAnswer(result, outcome.status, kRequiredDataLen, kB64Data);
  });
}

Outcome CKSVPluginZUB::GetCaps(const char* name, int32_t selector, int32_t capacity, JSObject& result) {
  const auto check = [&](Outcome& outcome) {
    return CheckAnyEntry(entries.GetCapabilities || entries.GetOTPCapabilities, outcome);
  };
  return RunChecked("GetCaps", kAgentNotCalled, CodedExceptions::BadAlloc, check, [&](Outcome& outcome) {
    AgentOutput data = AgentOutput::OfWhole(capacity);
    const auto& ask = entries.GetCapabilities ? entries.GetCapabilities : entries.GetOTPCapabilities;
    outcome.status = ask(name, selector, data.Length(), data.Bytes());
    data.StoreAnswer(result, outcome.status, kRequiredDataLen, kB64Data);
  });
}

Outcome CKSVPluginZUB::GetVersion(JSObject& result) {
  return Run("GetVersion", entries.GetVersion, CodedExceptions::None, [&](Outcome& outcome) {
    uint32_t version = 0;
    outcome.status = entries.GetVersion(&version);
    if (outcome.status == kAgentOk) result["version"] = JSObject(static_cast<int32_t>(version));
  });
}

Outcome CKSVPluginZUB::DoFWUpdate() {
  return Run("DoFWUpdate", entries.DoFWUpdate, CodedExceptions::None,
             [&](Outcome& outcome) { outcome.status = entries.DoFWUpdate(); });
}

}  // namespace NorvoWebAPI::KSV
