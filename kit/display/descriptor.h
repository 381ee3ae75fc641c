#pragma once

#include <memory>

#include "kit/display/display_status.h"
#include "kit/display/geometry.h"
#include "kit/display/texts.h"

namespace KsvDisplay {

/// The kind of input. A description has one of the first three; the last is that of a remote image.
enum class InputType : uint8_t { kPin = 1, kConfirmation = 2, kText = 3, kClicks = 4 };

enum class Theme : uint8_t { kLight = 0, kDark = 1 };

/// Red, green and blue, a byte each, rows from the top.
struct Pixels {
  uint16_t width = 0;
  uint16_t height = 0;
  Bytes rgb;
};
using PixelsPtr = std::shared_ptr<const Pixels>;

constexpr uint16_t kMaxImageSide = 2048;
constexpr uint16_t kMaxLogoSide = 1024;
/// Of a description with the largest logo, in bytes.
constexpr size_t kMaxDescriptorSize = 50 + size_t{3} * kMaxLogoSide * kMaxLogoSide;

/// An image as a page describes it, validated and with defaults filled in.
struct Descriptor {
  InputType type = InputType::kPin;
  uint32_t imageId = 0;
  Point size;
  /// {0,0}: the layout chooses the place.
  Point logoAt;
  /// Of digits or characters.
  uint32_t least = 0;
  uint32_t greatest = 0;
  Theme theme = Theme::kLight;
  /// Of the library's own texts.
  Language language = Language::kEnglish;
  /// Whether digits may be typed on the keyboard.
  bool takesKeys = true;
  /// Null when the page gave none.
  PixelsPtr logo;
};

/// The offsets of the two fields of the block that are written back.
constexpr size_t kDescriptorIdOffset = 6;
constexpr size_t kDescriptorSizeOffset = 10;

constexpr int kUsualDotsPerInch = 96;

/// Reads the packed little-endian block: 50 bytes, then the logo's pixels or nothing. A size that the page left open
/// fits the resolution. Throws kBadDescriptor and what follows it in `Status`, up to kUnknownOption.
Descriptor ParseDescriptor(ByteView block, int dotsPerInch = kUsualDotsPerInch);

}  // namespace KsvDisplay
