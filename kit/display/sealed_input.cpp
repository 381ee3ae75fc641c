#include "kit/display/sealed_input.h"

#include <limits>

#include "kit/display/channel.h"
#include "kit/shared/crypto.h"

namespace KsvDisplay {
namespace {

constexpr std::string_view kMagic = "KSVI";
constexpr uint8_t kLayout = 2;
constexpr uint8_t kAes256Gcm = 1;
enum KeyKind : uint8_t { kUserKey = 1, kWithStreamKey = 2 };

constexpr size_t kHeaderSize = 12;
/// The input is padded to a multiple of this by itself, so that no length discloses the number of digits.
constexpr size_t kBlock = 64;
constexpr size_t kDigestSize = 32;

size_t Padded(size_t size) {
  return (size + kBlock - 1) / kBlock * kBlock;
}

/// The texts in the order in which they are sealed.
template <class AnyQuestion>
auto TextsOf(AnyQuestion& asked) {
  return std::array{&asked.challenge, &asked.caption, &asked.reference, &asked.texts};
}

size_t PlainSize(const Input& input) {
  size_t size = Padded(sizeof(uint16_t) + input.content.size()) + kDigestSize;
  for (const std::string* text : TextsOf(input.asked)) size += sizeof(uint16_t) + text->size();
  return size;
}

void AppendSized(SecretBytes& out, ByteView bytes) {
  Require(bytes.size() <= std::numeric_limits<uint16_t>::max(), Status::kInternalError);
  AppendNumber(out, static_cast<uint16_t>(bytes.size()));
  Append(out, bytes);
}

Bytes Header(InputType type, uint32_t imageId, ByteView streamKey) {
  Bytes header;
  Append(header, AsBytes(kMagic));
  AppendNumber(header, kLayout);
  AppendNumber(header, kAes256Gcm);
  AppendNumber(header, static_cast<uint8_t>(streamKey.empty() ? kUserKey : kWithStreamKey));
  AppendNumber(header, static_cast<uint8_t>(type));
  AppendNumber(header, imageId);
  return header;
}

}  // namespace

size_t SealedSize(const Input& input) {
  return kHeaderSize + Crypto::kNonceSize + PlainSize(input) + Crypto::kTagSize;
}

Bytes SealInput(const Input& input, ByteView key, ByteView streamKey) {
  SecretBytes plain;
  // So that it never grows, which would copy the secret.
  plain.reserve(PlainSize(input));
  AppendSized(plain, input.content);
  plain.resize(Padded(plain.size()));
  Append(plain, input.asked.imageDigest);
  for (const std::string* text : TextsOf(input.asked)) AppendSized(plain, AsBytes(*text));

  const Bytes header = Header(input.asked.type, input.asked.imageId, streamKey);
  std::array<uint8_t, Crypto::kNonceSize> nonce;
  Crypto::FillRandom(nonce);
  Bytes sealed = header;
  Append(sealed, nonce);
  Append(sealed, Crypto::Seal(Channel::InputKey(key, streamKey), nonce, header, plain));
  return sealed;
}

std::optional<Input> OpenInput(ByteView sealed, ByteView key, ByteView streamKey) try {
  ByteReader<Status> outer(sealed, Status::kBadText);
  const ByteView header = outer.Read(kHeaderSize);
  const ByteView nonce = outer.Read(Crypto::kNonceSize);
  const std::optional<SecretBytes> plain =
      Crypto::Open(Channel::InputKey(key, streamKey), nonce, header, outer.Read(outer.left()));
  if (!plain) return std::nullopt;

  Input input;
  Question& asked = input.asked;
  ByteReader<Status> head(header.subspan(kHeaderSize - 5), Status::kBadText);
  asked.type = static_cast<InputType>(head.ReadNumber<uint8_t>());
  asked.imageId = head.ReadNumber<uint32_t>();
  if (!std::ranges::equal(header, Header(asked.type, asked.imageId, streamKey))) return std::nullopt;
  ByteReader<Status> reader(*plain, Status::kBadText);
  const ByteView content = reader.Read(reader.ReadNumber<uint16_t>());
  input.content.assign(content.begin(), content.end());
  const size_t taken = sizeof(uint16_t) + content.size();
  reader.Read(Padded(taken) - taken);
  std::ranges::copy(reader.Read(kDigestSize), asked.imageDigest.begin());
  for (std::string* text : TextsOf(asked)) *text = AsText(reader.Read(reader.ReadNumber<uint16_t>()));
  return input;
} catch (const DisplayError&) {
  return std::nullopt;
}

}  // namespace KsvDisplay
