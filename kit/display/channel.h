#pragma once

#include "kit/display/descriptor.h"

/// What a session shares with a remote party that holds the same key; README.md gives the layouts.
namespace KsvDisplay::Channel {

constexpr size_t kStreamKeySize = 32;

/// Whether the bytes are a channel set-up message in at least one reading.
bool IsSetupMessage(ByteView message);

/// The stream key that answers a set-up message. `key` is the user's; so it is below, where an empty `streamKey` means
/// that none was set.
SecretBytes AnswerSetup(ByteView key, ByteView message);

SecretBytes FrameKey(ByteView key, ByteView streamKey);
SecretBytes InputKey(ByteView key, ByteView streamKey);

/// What `ReadFrame` found. It holds the frame itself: what a tag is checked for is what was read, whatever becomes of
/// the memory that the frame came in.
struct Frame {
  PixelsPtr pixels;
  Bytes bytes;
  size_t tagSize = 0;

  /// Empty when the frame bears none.
  ByteView tag() const { return ByteView(bytes).last(tagSize); }
  /// The part that a tag covers.
  ByteView covered() const { return ByteView(bytes).first(bytes.size() - tagSize); }
};

/// Copies a frame, once, and takes it apart. Throws kBadFrame.
Frame ReadFrame(ByteView bytes);

/// Throws kFrameNotAuthentic unless the frame's tag was made under `frameKey`.
void CheckTag(const Frame& frame, ByteView frameKey);

}  // namespace KsvDisplay::Channel
