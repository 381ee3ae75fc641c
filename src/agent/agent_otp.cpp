// One-time passwords from an encrypted token that the page holds or the token store keeps.
#include <cstring>

#include "agent/agent_operation.h"
#include "agent/cksv_plugin_zub.h"
#include "tokens/token_store.h"

namespace NorvoWebAPI::KSV {

Outcome CKSVPluginZUB::GetOTP(const AgentTarget& target, int32_t otpSelector, int32_t tokenTextLength,
                              const char* tokenText, int32_t extraTextLength, const char* extraText,
                              int32_t otpCapacity, int32_t tokenCapacity, const char* domain, const char* tokenFileName,
                              JSObject& result) {
  return Run("GetOTP", entries.GetOTP, CodedExceptions::All, [&](Outcome& outcome) {
    const ByteBuffer token = TokenStore::Take(tokenText, tokenTextLength, domain, tokenFileName);
    const ByteBuffer extra = DecodeOptional(extraText, extraTextLength);
    AgentOutput otp = AgentOutput::OfLow16(otpCapacity);
    AgentOutput newToken = AgentOutput::OfLow16(tokenCapacity);
    CallTarget(target, entries.GetOTP, entries.GetOTP3, outcome, otpSelector, static_cast<int32_t>(token.size),
               token.bytes.get(), static_cast<int32_t>(extra.size), extra.bytes.get(), otp.Length(), otp.Bytes(),
               newToken.Length(), newToken.Bytes());
    if (outcome.status == kAgentBufferTooSmall) {
      otp.StoreRequired(result, "requiredOTPDataLen");
      newToken.StoreRequired(result, "requiredEncTokenDataLen");
    }
    if (outcome.status == kAgentOk) {
      if (const uint16_t stored = otp.StoreData(result, "b64OTP"); stored > 0) {
        const char* const text = reinterpret_cast<const char*>(otp.Bytes());
        result["OTP"] = JSObject(std::string(text, strnlen(text, stored)));
      }
      newToken.StoreData(result, "b64EncToken");
    }
  });
}

}  // namespace NorvoWebAPI::KSV
