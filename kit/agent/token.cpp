#include "kit/agent/token.h"

namespace KsvAgent {
namespace {

/// Four letters, the version of the layout, and the cipher (1 is AES-256-GCM).
constexpr std::array<uint8_t, 6> kHeader = {'K', 'S', 'V', 'T', 1, 1};

/// The header and the applet's name are bound to the sealed part, though the name is not stored.
Bytes AssociatedData(std::string_view applet) {
  Bytes data(kHeader.begin(), kHeader.end());
  Append(data, AsBytes(applet));
  return data;
}

void AppendField(SecretBytes& out, ByteView field) {
  AppendNumber(out, static_cast<uint16_t>(field.size()));
  Append(out, field);
}

ByteView TakeField(ByteReader<Status>& reader) {
  return reader.Take(reader.TakeNumber<uint16_t>());
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
  const ByteView header = outer.Take(kHeader.size());
  Require(std::equal(header.begin(), header.end(), kHeader.begin()), Status::kBadToken);
  const ByteView nonce = outer.Take(Crypto::kNonceSize);
  const std::optional<SecretBytes> plain = Crypto::Open(key, nonce, AssociatedData(applet), outer.Take(outer.left()));
  Require(plain.has_value(), Status::kBadToken);

  ByteReader reader(*plain, Status::kBadToken);
  Account account;
  account.kind = static_cast<OtpKind>(reader.TakeNumber<uint8_t>());
  account.hash = static_cast<Crypto::Hash>(reader.TakeNumber<uint8_t>());
  account.digits = reader.TakeNumber<uint8_t>();
  account.period = reader.TakeNumber<uint32_t>();
  account.counter = reader.TakeNumber<uint64_t>();
  const ByteView seed = TakeField(reader);
  account.seed.assign(seed.begin(), seed.end());
  account.label = AsText(TakeField(reader));
  account.issuer = AsText(TakeField(reader));
  Require(reader.left() == 0 && account.IsValid(), Status::kBadToken);
  return account;
}

}  // namespace KsvAgent
