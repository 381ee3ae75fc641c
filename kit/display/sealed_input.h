#pragma once

#include <array>
#include <optional>

#include "kit/display/descriptor.h"

namespace KsvDisplay {

/// What an image asked of the user. All texts are UTF-8.
struct Question {
  InputType type = InputType::kPin;
  uint32_t imageId = 0;
  std::string caption;
  std::string reference;
  /// The other texts, a line each.
  std::string texts;
  std::string challenge;
  /// SHA-256 of the bytes that describe the image.
  std::array<uint8_t, 32> imageDigest{};
};

/// The user's input and what it answers.
struct Input {
  Question asked;
  SecretBytes content;
};

/// The length of the input once it is sealed.
size_t SealedSize(const Input& input);

/// Seals an input, which opens with the user's key and the stream key; `streamKey` is empty when none was set.
/// README.md has the layout. Throws kInternalError for a text or content of 64 KiB and more.
Bytes SealInput(const Input& input, ByteView key, ByteView streamKey);

/// Opens a sealed input; nothing unless `SealInput` made it with these keys.
std::optional<Input> OpenInput(ByteView sealed, ByteView key, ByteView streamKey);

}  // namespace KsvDisplay
