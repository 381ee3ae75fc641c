#include "kit/agent/otpauth_uri.h"

#include <algorithm>
#include <limits>
#include <map>

#include "kit/agent/base32.h"
#include "kit/agent/text.h"

namespace KsvAgent {
namespace {

constexpr Status kMalformed = Status::kBadProvisioningData;
constexpr Status kUnsupported = Status::kUnsupportedParameters;

int HexValue(uint8_t digit) {
  if (digit >= '0' && digit <= '9') return digit - '0';
  if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
  if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
  return -1;
}

SecretBytes DecodePercent(ByteView text) {
  SecretBytes out;
  out.reserve(text.size());
  for (ByteReader reader(text, kMalformed); reader.left() > 0;) {
    const uint8_t byte = reader.ReadNumber<uint8_t>();
    if (byte != '%') {
      out.push_back(byte);
      continue;
    }
    const ByteView digits = reader.Read(2);
    const int high = HexValue(digits[0]);
    const int low = HexValue(digits[1]);
    Require(high >= 0 && low >= 0, kMalformed);
    out.push_back(static_cast<uint8_t>(high << 4 | low));
  }
  return out;
}

/// Removes the text up to the first `separator`, and that, from `rest` and returns it; all of `rest` when there is
/// none.
ByteView CutAt(ByteView& rest, char separator) {
  const auto found = std::find(rest.begin(), rest.end(), static_cast<uint8_t>(separator));
  const ByteView head(rest.begin(), found);
  rest = found == rest.end() ? ByteView() : ByteView(found + 1, rest.end());
  return head;
}

using Parameters = std::map<std::string, SecretBytes, std::less<>>;

Parameters SplitQuery(ByteView query) {
  Parameters parameters;
  while (!query.empty()) {
    ByteView value = CutAt(query, '&');
    const ByteView key = CutAt(value, '=');
    if (key.empty()) throw AgentError(kMalformed);
    Require(parameters.emplace(AsText(key), DecodePercent(value)).second, kMalformed);
  }
  return parameters;
}

uint64_t NumberOr(const Parameters& parameters, std::string_view key, uint64_t fallback, uint64_t limit) {
  const auto found = parameters.find(key);
  if (found == parameters.end()) return fallback;
  const std::optional<uint64_t> number = ParseNumber(AsText(found->second));
  Require(number.has_value(), kMalformed);
  Require(*number <= limit, kUnsupported);
  return *number;
}

Crypto::Hash HashOr(const Parameters& parameters, Crypto::Hash fallback) {
  const auto found = parameters.find("algorithm");
  if (found == parameters.end()) return fallback;
  for (const Crypto::Hash hash : kHashes) {
    if (EqualsIgnoringCase(AsText(found->second), NameOf(hash))) return hash;
  }
  throw AgentError(kUnsupported);
}

OtpKind KindOf(std::string_view name) {
  for (const OtpKind kind : {OtpKind::kCounter, OtpKind::kTime}) {
    if (EqualsIgnoringCase(name, NameOf(kind))) return kind;
  }
  throw AgentError(kUnsupported);
}

std::string PlainText(ByteView bytes) {
  Require(IsPlainText(AsText(bytes)), kMalformed);
  return std::string(AsText(bytes));
}

}  // namespace

Account ParseOtpauthUri(ByteView uri) {
  // Spaces and control characters are never part of a URI; other characters than ASCII are accepted, because authors
  // seldom encode them.
  Require(std::all_of(uri.begin(), uri.end(), [](uint8_t byte) { return byte > 0x20 && byte != 0x7F && byte != '#'; }),
          kMalformed);
  constexpr std::string_view kScheme = "otpauth://";
  ByteReader reader(uri, kMalformed);
  Require(EqualsIgnoringCase(AsText(reader.Read(kScheme.size())), kScheme), kMalformed);
  ByteView path = reader.Read(reader.left());
  ByteView query = path;
  path = CutAt(query, '?');
  ByteView label = path;
  const ByteView kind = CutAt(label, '/');
  Require(!label.empty(), kMalformed);
  const Parameters parameters = SplitQuery(query);

  Account account;
  account.kind = KindOf(AsText(kind));
  account.label = PlainText(DecodePercent(label));
  if (const auto issuer = parameters.find("issuer"); issuer != parameters.end()) {
    account.issuer = PlainText(issuer->second);
  } else if (const size_t colon = account.label.find(':'); colon != std::string::npos) {
    account.issuer = account.label.substr(0, colon);
  }
  account.hash = HashOr(parameters, account.hash);
  account.digits = static_cast<uint8_t>(NumberOr(parameters, "digits", account.digits, kMaxDigits));
  if (account.kind == OtpKind::kTime) {
    account.period =
        static_cast<uint32_t>(NumberOr(parameters, "period", account.period, std::numeric_limits<uint32_t>::max()));
  } else {
    Require(parameters.contains("counter"), kMalformed);
    account.counter = NumberOr(parameters, "counter", 0, std::numeric_limits<uint64_t>::max());
  }
  const auto secret = parameters.find("secret");
  Require(secret != parameters.end(), kMalformed);
  std::optional<SecretBytes> seed = DecodeBase32(secret->second);
  Require(seed.has_value() && !seed->empty(), kMalformed);
  account.seed = std::move(*seed);
  Require(account.IsValid(), kUnsupported);
  return account;
}

}  // namespace KsvAgent
