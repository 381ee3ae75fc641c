#include "kit/display/sealed_input.h"

#include <limits>

#include "kit/display/channel.h"
#include "kit/shared/crypto.h"

namespace KsvDisplay {
namespace {

constexpr std::string_view kMagic = "KSVI";
constexpr uint8_t kLayout = 1;
constexpr uint8_t kAes256Gcm = 1;
enum KeyKind : uint8_t { kUserKey = 1, kWithStreamKey = 2 };

constexpr size_t kHeaderSize = 12;
/// Content is padded to a multiple of this, so that the length does not disclose the number of digits.
constexpr size_t kBlock = 64;
constexpr size_t kDigestSize = 32;

size_t PaddedSize(size_t contentSize) {
  return (kDigestSize + sizeof(uint16_t) + contentSize + kBlock - 1) / kBlock * kBlock;
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

size_t SealedSize(size_t contentSize) {
  return kHeaderSize + Crypto::kNonceSize + PaddedSize(contentSize) + Crypto::kTagSize;
}

Bytes SealInput(const Input& input, ByteView key, ByteView streamKey) {
  Require(input.content.size() <= std::numeric_limits<uint16_t>::max(), Status::kInternalError);
  SecretBytes plain;
  plain.reserve(PaddedSize(input.content.size()));
  Append(plain, input.imageDigest);
  AppendNumber(plain, static_cast<uint16_t>(input.content.size()));
  Append(plain, input.content);
  plain.resize(PaddedSize(input.content.size()));

  const Bytes header = Header(input.type, input.imageId, streamKey);
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
  ByteReader<Status> head(header.subspan(kHeaderSize - 5), Status::kBadText);
  input.type = static_cast<InputType>(head.ReadNumber<uint8_t>());
  input.imageId = head.ReadNumber<uint32_t>();
  if (!std::ranges::equal(header, Header(input.type, input.imageId, streamKey))) return std::nullopt;
  ByteReader<Status> reader(*plain, Status::kBadText);
  std::ranges::copy(reader.Read(kDigestSize), input.imageDigest.begin());
  const ByteView content = reader.Read(reader.ReadNumber<uint16_t>());
  input.content.assign(content.begin(), content.end());
  return input;
} catch (const DisplayError&) {
  return std::nullopt;
}

}  // namespace KsvDisplay
