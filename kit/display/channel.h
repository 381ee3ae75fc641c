#pragma once

#include "kit/display/descriptor.h"

/// The messages between a session and a remote party that has the same key; README.md has the layouts.
namespace KsvDisplay::Channel {

constexpr size_t kStreamKeySize = 32;

/// Whether the bytes can be parsed as a channel set-up message in at least one way.
bool IsSetupMessage(ByteView message);

/// The stream key that answers a set-up message. Here and below `key` is the user's key, and an empty `streamKey` means
/// that none was set.
SecretBytes AnswerSetup(ByteView key, ByteView message);

SecretBytes FrameKey(ByteView key, ByteView streamKey);
SecretBytes InputKey(ByteView key, ByteView streamKey);

/// A parsed frame with a copy of its bytes: the caller may change its memory between parsing and the check of the tag.
struct Frame {
  PixelsPtr pixels;
  Bytes bytes;
  size_t tagSize = 0;

  /// Empty when the frame has none.
  ByteView tag() const { return ByteView(bytes).last(tagSize); }
  /// The bytes that the tag authenticates.
  ByteView covered() const { return ByteView(bytes).first(bytes.size() - tagSize); }
};

/// Copies and parses a frame. Throws kBadFrame.
Frame ReadFrame(ByteView bytes);

/// Throws kFrameNotAuthentic unless the frame's tag was made under `frameKey`.
void CheckTag(const Frame& frame, ByteView frameKey);

}  // namespace KsvDisplay::Channel
