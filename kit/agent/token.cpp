#include "kit/agent/token.h"

namespace KsvAgent {
namespace {

/// Magic number, version of the layout, cipher (1 is AES-256-GCM).
constexpr std::array<uint8_t, 6> kHeader = {'K', 'S', 'V', 'T', 1, 1};

/// The tag covers the header and the applet's name, which the token does not contain.
Bytes AssociatedData(std::string_view applet) {
  Bytes data(kHeader.begin(), kHeader.end());
  Append(data, AsBytes(applet));
  return data;
}

void AppendField(SecretBytes& out, ByteView field) {
  AppendNumber(out, static_cast<uint16_t>(field.size()));
  Append(out, field);
}

ByteView ReadField(ByteReader<Status>& reader) {
  return reader.Read(reader.ReadNumber<uint16_t>());
}

}  // namespace

Bytes SealToken(const Account& account, std::string_view applet, ByteView key) {
  SecretBytes plain;
  AppendNumber(plain, static_cast<uint8_t>(account.kind));
  AppendNumber(plain, static_cast<uint8_t>(account.hash));
  AppendNumber(plain, account.digits);
  AppendNumber(plain, account.period);
  AppendNumber(plain, account.counter);
  AppendField(plain, account.seed);
  AppendField(plain, AsBytes(account.label));
  AppendField(plain, AsBytes(account.issuer));

  std::array<uint8_t, Crypto::kNonceSize> nonce;
  Crypto::FillRandom(nonce);
  Bytes token(kHeader.begin(), kHeader.end());
  Append(token, nonce);
  Append(token, Crypto::Seal(key, nonce, AssociatedData(applet), plain));
  return token;
}

Account OpenToken(ByteView token, std::string_view applet, ByteView key) {
  ByteReader outer(token, Status::kBadToken);
  const ByteView header = outer.Read(kHeader.size());
  Require(std::equal(header.begin(), header.end(), kHeader.begin()), Status::kBadToken);
  const ByteView nonce = outer.Read(Crypto::kNonceSize);
  const std::optional<SecretBytes> plain = Crypto::Open(key, nonce, AssociatedData(applet), outer.Read(outer.left()));
  Require(plain.has_value(), Status::kBadToken);

  ByteReader reader(*plain, Status::kBadToken);
  Account account;
  account.kind = static_cast<OtpKind>(reader.ReadNumber<uint8_t>());
  account.hash = static_cast<Crypto::Hash>(reader.ReadNumber<uint8_t>());
  account.digits = reader.ReadNumber<uint8_t>();
  account.period = reader.ReadNumber<uint32_t>();
  account.counter = reader.ReadNumber<uint64_t>();
  const ByteView seed = ReadField(reader);
  account.seed.assign(seed.begin(), seed.end());
  account.label = AsText(ReadField(reader));
  account.issuer = AsText(ReadField(reader));
  Require(reader.left() == 0 && account.IsValid(), Status::kBadToken);
  return account;
}

}  // namespace KsvAgent
