#include "kit/agent/otp.h"

#include "kit/agent/text.h"

namespace KsvAgent {
namespace {

constexpr size_t kMinSeed = 10;
constexpr size_t kMaxSeed = 128;
constexpr size_t kMaxText = 256;

bool IsName(std::string_view text) {
  return text.size() <= kMaxText && IsPlainText(text);
}

}  // namespace

bool Account::IsValid() const {
  return digits >= kMinDigits && digits <= kMaxDigits && period >= 1 && seed.size() >= kMinSeed &&
         seed.size() <= kMaxSeed && !label.empty() && IsName(label) && IsName(issuer);
}

const char* NameOf(OtpKind kind) {
  return kind == OtpKind::kTime ? "totp" : "hotp";
}

const char* NameOf(Crypto::Hash hash) {
  switch (hash) {
    case Crypto::Hash::kSha1:
      return "SHA1";
    case Crypto::Hash::kSha256:
      return "SHA256";
    case Crypto::Hash::kSha512:
      return "SHA512";
  }
  throw AgentError(Status::kInternalError);
}

SecretBytes MakePassword(const Account& account, uint64_t factor) {
  SecretBytes message;
  AppendNumber(message, factor);
  const SecretBytes mac = Crypto::Hmac(account.hash, account.seed, message);
  // For the longer hashes too, the last byte gives the offset.
  const size_t offset = mac.back() & 0x0F;
  uint32_t value =
      ByteReader(ByteView(mac).subspan(offset), Status::kInternalError).ReadNumber<uint32_t>() & 0x7FFFFFFF;

  SecretBytes password(account.digits);
  for (size_t position = account.digits; position > 0; --position) {
    password[position - 1] = static_cast<uint8_t>('0' + value % 10);
    value /= 10;
  }
  return password;
}

}  // namespace KsvAgent
