#include "kit/display/channel.h"

#include "kit/shared/crypto.h"

namespace KsvDisplay::Channel {
namespace {

constexpr std::string_view kFrameMagic = "KSVF";
constexpr uint8_t kFrameLayout = 1;
constexpr size_t kTagSize = 32;
constexpr size_t kMaxFrameSize = 14 + size_t{3} * kMaxImageSide * kMaxImageSide + kTagSize;
enum TagKind : uint8_t { kNoTag = 0, kHmacSha256 = 1 };

SecretBytes Derive(ByteView key, std::string_view purpose, ByteView from) {
  SecretBytes message;
  Append(message, AsBytes(purpose));
  Append(message, from);
  return Crypto::Hmac(Crypto::Hash::kSha256, key, message);
}

size_t Number16(ByteView bytes, size_t at) {
  return size_t{bytes[at]} << 8 | bytes[at + 1];
}

}  // namespace

bool IsSetupMessage(ByteView message) {
  if (message.size() < 4) return false;
  // Part B has no length field: it may end at any place where the next field covers exactly the rest.
  for (size_t end = 2 + Number16(message, 0); end + 2 <= message.size(); ++end) {
    if (Number16(message, end) == message.size() - end - 2) return true;
  }
  return false;
}

SecretBytes AnswerSetup(ByteView key, ByteView message) {
  Require(IsSetupMessage(message), Status::kBadSetupMessage);
  return Derive(key, "KSV stream 1", message);
}

SecretBytes FrameKey(ByteView key, ByteView streamKey) {
  return Derive(key, "KSV frame 1", streamKey);
}

SecretBytes InputKey(ByteView key, ByteView streamKey) {
  return Derive(key, "KSV input 1", streamKey);
}

Frame ReadFrame(ByteView bytes) {
  Require(bytes.size() <= kMaxFrameSize, Status::kBadFrame);
  Frame frame{nullptr, Bytes(bytes.begin(), bytes.end())};
  ByteReader<Status> reader(frame.bytes, Status::kBadFrame);
  Require(AsText(reader.Read(kFrameMagic.size())) == kFrameMagic, Status::kBadFrame);
  const auto layout = reader.ReadNumber<uint8_t>();
  const auto tag = reader.ReadNumber<uint8_t>();
  Require(layout == kFrameLayout && tag <= kHmacSha256, Status::kBadFrame);
  const auto width = reader.ReadNumber<uint16_t>();
  const auto height = reader.ReadNumber<uint16_t>();
  const auto length = reader.ReadNumber<uint32_t>();
  Require(width >= 1 && height >= 1 && width <= kMaxImageSide && height <= kMaxImageSide &&
              length == uint32_t{3} * width * height,
          Status::kBadFrame);
  const ByteView rgb = reader.Read(length);
  frame.tagSize = tag == kNoTag ? 0 : kTagSize;
  reader.Read(frame.tagSize);
  Require(reader.left() == 0, Status::kBadFrame);
  frame.pixels = std::make_shared<const Pixels>(Pixels{width, height, Bytes(rgb.begin(), rgb.end())});
  return frame;
}

void CheckTag(const Frame& frame, ByteView frameKey) {
  Require(frame.tagSize == kTagSize, Status::kFrameNotAuthentic);
  const SecretBytes expected = Crypto::Hmac(Crypto::Hash::kSha256, frameKey, frame.covered());
  // Compares all bytes, so that the time does not depend on how many of them match.
  const ByteView tag = frame.tag();
  uint8_t difference = 0;
  for (size_t i = 0; i < kTagSize; ++i) difference |= static_cast<uint8_t>(expected[i] ^ tag[i]);
  Require(difference == 0, Status::kFrameNotAuthentic);
}

}  // namespace KsvDisplay::Channel
