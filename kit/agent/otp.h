#pragma once

#include <string>

#include "kit/agent/agent_error.h"
#include "kit/shared/crypto.h"

namespace KsvAgent {

enum class OtpKind : uint8_t { kCounter = 1, kTime = 2 };

/// The parameters of a password, from a provisioning text or a token.
struct Account {
  OtpKind kind = OtpKind::kTime;
  Crypto::Hash hash = Crypto::Hash::kSha1;
  /// 6 to 8.
  uint8_t digits = 6;
  /// Seconds, at least 1; only for passwords by time.
  uint32_t period = 30;
  /// The counter of the next password; only for passwords by counter.
  uint64_t counter = 0;
  /// 10 to 128 bytes.
  SecretBytes seed;
  /// UTF-8 without control characters, 1 to 256 bytes.
  std::string label;
  /// The same, and may be empty.
  std::string issuer;

  /// Whether every member is within its limits.
  bool IsValid() const;
};

constexpr uint8_t kMinDigits = 6;
constexpr uint8_t kMaxDigits = 8;

constexpr Crypto::Hash kHashes[] = {Crypto::Hash::kSha1, Crypto::Hash::kSha256, Crypto::Hash::kSha512};

const char* NameOf(OtpKind kind);
const char* NameOf(Crypto::Hash hash);

/// The password of RFC 4226 for a moving factor, as ASCII digits; for RFC 6238 the factor is the number of whole
/// periods since 1970.
SecretBytes MakePassword(const Account& account, uint64_t factor);

}  // namespace KsvAgent
