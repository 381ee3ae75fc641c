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

bool CKSVPluginZUB::StartProvisioning(const AgentTarget& target, JSObject& result) {
  return Run("StartProvisioning", entries.StartProvisioning, TellsApart::Nothing, result, [&] {
    uint32_t session = 0;
    if (CallTarget(target, entries.StartProvisioning, entries.StartProvisioning3, result, &session) == kAgentOk) {
      result["sessionHandle"] = JSObject(static_cast<int32_t>(session));
    }
  });
}

bool CKSVPluginZUB::EndProvisioning(const AgentTarget& target, int32_t sessionHandle, int32_t capacity,
                                    const char* domain, const char* secondDomain, const char* tokenFileName,
                                    JSObject& result) {
  return Run("EndProvisioning", entries.EndProvisioning, TellsApart::BadAllocAndCode, result, [&] {
    AgentOutput token = AgentOutput::OfWhole(capacity);
    const int32_t status = CallTarget(target, entries.EndProvisioning, entries.EndProvisioning3, result, sessionHandle,
                                      token.Length(), token.Bytes());
    if (status == kAgentBufferTooSmall) token.StoreRequired(result, "requiredEncTokenLen");
    // The page gets its token before the store is tried: a store that fails must not cost the page the token.
    if (status != kAgentOk) return;
    if (const uint16_t stored = token.StoreData(result, "b64EncToken"); stored > 0 && tokenFileName && *tokenFileName) {
      TokenStore::Write(domain, secondDomain, tokenFileName, token.Bytes(), stored);
    }
  });
}

bool CKSVPluginZUB::SendData(const AgentTarget& target, int32_t sessionHandle, int32_t dataType, int32_t textLength,
                             const char* b64Text, JSObject& result) {
  return Run("SendData", entries.SendData, TellsApart::BadAlloc, result, [&] {
    const ByteBuffer data = DecodeBase64(b64Text, textLength);
    CallTarget(target, entries.SendData, entries.SendData3, result, sessionHandle, dataType, LengthOf(data),
               data.bytes.get());
  });
}

bool CKSVPluginZUB::RecvData(const AgentTarget& target, int32_t sessionHandle, int32_t dataType, int32_t capacity,
                             JSObject& result) {
  return Run("RecvData", entries.ReceiveData, TellsApart::BadAlloc, result, [&] {
    AgentOutput data = AgentOutput::OfWhole(capacity);
    const int32_t status = CallTarget(target, entries.ReceiveData, entries.ReceiveData3, result, sessionHandle,
                                      dataType, data.Length(), data.Bytes());
    data.StoreAnswer(result, status, kRequiredDataLen, kB64Data);
  });
}

bool CKSVPluginZUB::ProcessSVP(const char* name, int32_t sessionHandle, int32_t textLength, const char* b64Text,
                               JSObject& result) {
  return Run("ProcessSVP", entries.ProcessSVPMessage, TellsApart::BadAlloc, result, [&] {
    const ByteBuffer data = DecodeBase64(b64Text, textLength);
    StoreStatus(result, entries.ProcessSVPMessage(name, sessionHandle, LengthOf(data), data.bytes.get()));
  });
}

bool CKSVPluginZUB::GetSVP(const char* name, int32_t sessionHandle, int32_t capacity, JSObject& result) {
  return Run("GetSVP", entries.GetSVPMessage, TellsApart::BadAlloc, result, [&] {
    AgentOutput data = AgentOutput::OfWhole(capacity);
    const int32_t status = StoreStatus(result, entries.GetSVPMessage(name, sessionHandle, data.Length(), data.Bytes()));
    data.StoreAnswer(result, status, kRequiredDataLen, kB64Data);
  });
}

bool CKSVPluginZUB::SendAndRecvData(const AgentTarget& target, int32_t sessionHandle, int32_t dataType,
                                    int32_t textLength, const char* b64Text, int32_t capacity, JSObject& result) {
  return Run("SendAndRecvData", entries.SendAndReceiveData, TellsApart::BadAlloc, result, [&] {
    AgentOutput answer = AgentOutput::OfWhole(capacity);
    const ByteBuffer sent = DecodeOptional(b64Text, textLength);
    const int32_t status =
        CallTarget(target, entries.SendAndReceiveData, entries.SendAndReceiveData3, result, sessionHandle, dataType,
                   LengthOf(sent), sent.bytes.get(), answer.Length(), answer.Bytes());
    answer.StoreAnswer(result, status, kRequiredDataLen, kB64Data);
  });
}

bool CKSVPluginZUB::GetCaps(const char* name, int32_t selector, int32_t capacity, JSObject& result) {
  const auto check = [&] { return CheckEither(entries.GetCapabilities, entries.GetOTPCapabilities, result); };
  return RunChecked("GetCaps", kAgentNotCalled, check, TellsApart::BadAlloc, result, [&] {
    AgentOutput data = AgentOutput::OfWhole(capacity);
    const auto& ask = entries.GetCapabilities ? entries.GetCapabilities : entries.GetOTPCapabilities;
    const int32_t status = StoreStatus(result, ask(name, selector, data.Length(), data.Bytes()));
    data.StoreAnswer(result, status, kRequiredDataLen, kB64Data);
  });
}

bool CKSVPluginZUB::GetVersion(JSObject& result) {
  return Run("GetVersion", entries.GetVersion, TellsApart::Nothing, result, [&] {
    uint32_t version = 0;
    if (StoreStatus(result, entries.GetVersion(&version)) == kAgentOk) {
      result["version"] = JSObject(static_cast<int32_t>(version));
    }
  });
}

bool CKSVPluginZUB::DoFWUpdate(JSObject& result) {
  return Run("DoFWUpdate", entries.DoFWUpdate, TellsApart::Nothing, result,
             [&] { StoreStatus(result, entries.DoFWUpdate()); });
}

}  // namespace NorvoWebAPI::KSV
