#pragma once

#include <array>
#include <optional>

#include "kit/display/descriptor.h"

namespace KsvDisplay {

/// What the user gave, and to what.
struct Input {
  InputType type = InputType::kPin;
  uint32_t imageId = 0;
  /// SHA-256 of what the image was made from.
  std::array<uint8_t, 32> imageDigest{};
  SecretBytes content;
};

/// The length of what `SealInput` makes.
size_t SealedSize(size_t contentSize);

/// Seals an input so that the holder of the user's key can open it; `streamKey` is empty when none was set. README.md
/// gives the layout. Throws kInternalError for content of 64 KiB and more.
Bytes SealInput(const Input& input, ByteView key, ByteView streamKey);

/// The reverse; nothing for anything that `SealInput` did not make with these keys.
std::optional<Input> OpenInput(ByteView sealed, ByteView key, ByteView streamKey);

}  // namespace KsvDisplay
