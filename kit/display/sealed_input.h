#pragma once

#include <array>
#include <optional>

#include "kit/display/descriptor.h"

namespace KsvDisplay {

/// The user's input and the image that it was given on.
struct Input {
  InputType type = InputType::kPin;
  uint32_t imageId = 0;
  /// SHA-256 of the bytes that describe the image.
  std::array<uint8_t, 32> imageDigest{};
  SecretBytes content;
};

/// The length of a sealed input.
size_t SealedSize(size_t contentSize);

/// Seals an input, which opens with the user's key and the stream key; `streamKey` is empty when none was set.
/// README.md has the layout. Throws kInternalError for content of 64 KiB and more.
Bytes SealInput(const Input& input, ByteView key, ByteView streamKey);

/// Opens a sealed input; nothing unless `SealInput` made it with these keys.
std::optional<Input> OpenInput(ByteView sealed, ByteView key, ByteView streamKey);

}  // namespace KsvDisplay
