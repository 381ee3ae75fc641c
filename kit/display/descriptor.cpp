#include "kit/display/descriptor.h"

#include "kit/display/painter.h"

namespace KsvDisplay {
namespace {

/// Pads are always shuffled after each digit: this option has no effect, but pages give it.
constexpr uint32_t kShuffleAfterEachDigit = 1;
constexpr uint32_t kNoKeyboard = 256;
constexpr uint32_t kInEnglish = 512;
constexpr uint32_t kInGerman = 1024;

/// The limits of an input type, and the defaults of fields that are 0.
struct Limits {
  InputType type;
  Point smallest;
  Point usual;
  uint32_t least;
  uint32_t greatest;
  uint32_t most;
};
constexpr Limits kLimits[] = {
    {InputType::kPin, {200, 260}, {320, 420}, 4, 8, 16},
    {InputType::kConfirmation, {200, 140}, {320, 240}, 0, 0, 0},
    {InputType::kText, {200, 140}, {320, 240}, 1, 64, 256},
};

const Limits& LimitsOf(uint8_t type) {
  for (const Limits& limits : kLimits) {
    if (static_cast<uint8_t>(limits.type) == type) return limits;
  }
  throw DisplayError(Status::kUnknownInputType);
}

class LittleReader {
 public:
  explicit LittleReader(ByteView bytes) : reader_(bytes, Status::kBadDescriptor) {}

  template <std::unsigned_integral Number>
  Number Read() {
    uint64_t value = 0;
    int shift = 0;
    for (const uint8_t byte : reader_.Read(sizeof(Number))) {
      value |= uint64_t{byte} << shift;
      shift += 8;
    }
    return static_cast<Number>(value);
  }
  Point ReadPoint() {
    const auto x = Read<uint16_t>();
    return {x, Read<uint16_t>()};
  }
  void SkipZeros(size_t count) {
    for (const uint8_t byte : reader_.Read(count)) Require(byte == 0, Status::kBadDescriptor);
  }
  ByteView Rest() { return reader_.Read(reader_.left()); }

 private:
  ByteReader<Status> reader_;
};

/// A size without pixels is no error: hosts that drop a logo still send its size.
PixelsPtr ReadLogo(Point size, ByteView rgb) {
  if (rgb.empty()) return nullptr;
  Require(size.x <= kMaxLogoSide && size.y <= kMaxLogoSide && rgb.size() == size_t{3} * size.x * size.y,
          Status::kBadLogo);
  return std::make_shared<const Pixels>(Pixels{size.x, size.y, Bytes(rgb.begin(), rgb.end())});
}

}  // namespace

Descriptor ParseDescriptor(ByteView block, int dotsPerInch) {
  LittleReader reader(block);
  Descriptor result;
  reader.SkipZeros(1);
  const auto type = reader.Read<uint8_t>();
  reader.SkipZeros(4);
  result.imageId = reader.Read<uint32_t>();
  result.size = reader.ReadPoint();
  reader.SkipZeros(1);
  result.logoAt = reader.ReadPoint();
  reader.SkipZeros(2);
  const auto theme = reader.Read<uint8_t>();
  result.least = reader.Read<uint32_t>();
  reader.SkipZeros(8);
  result.greatest = reader.Read<uint32_t>();
  reader.SkipZeros(4);
  const auto options = reader.Read<uint32_t>();
  const Point logoSize = reader.ReadPoint();
  result.logo = ReadLogo(logoSize, reader.Rest());

  const Limits& limits = LimitsOf(type);
  result.type = limits.type;
  if (result.size == Point{}) {
    const auto scaled = [&](uint16_t side) {
      return static_cast<uint16_t>(std::min<int>(side * dotsPerInch / kUsualDotsPerInch, kMaxImageSide));
    };
    result.size = {scaled(limits.usual.x), scaled(limits.usual.y)};
  }
  Require(result.size.x >= limits.smallest.x && result.size.y >= limits.smallest.y && result.size.x <= kMaxImageSide &&
              result.size.y <= kMaxImageSide,
          Status::kBadImageSize);
  if (result.greatest == 0) result.greatest = std::max(limits.greatest, std::min(result.least, limits.most));
  if (result.least == 0) result.least = std::min(limits.least, result.greatest);
  Require(result.least <= result.greatest && result.greatest <= limits.most, Status::kBadLimits);
  Require(theme <= static_cast<uint8_t>(Theme::kDark) &&
              (options & ~(kShuffleAfterEachDigit | kNoKeyboard | kInEnglish | kInGerman)) == 0 &&
              (options & (kInEnglish | kInGerman)) != (kInEnglish | kInGerman),
          Status::kUnknownOption);
  result.theme = static_cast<Theme>(theme);
  result.takesKeys = (options & kNoKeyboard) == 0;
  result.language = (options & kInEnglish) != 0  ? Language::kEnglish
                    : (options & kInGerman) != 0 ? Language::kGerman
                                                 : Painter::UserLanguage();
  return result;
}

}  // namespace KsvDisplay
