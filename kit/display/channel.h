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

/// What `ReadFrame` found, with the part of the frame that a tag covers.
struct Frame {
  PixelsPtr pixels;
  ByteView covered;
  /// Empty when the frame bears none.
  ByteView tag;
};

/// Takes a frame apart. Throws kBadFrame.
Frame ReadFrame(ByteView bytes);

/// Throws kFrameNotAuthentic unless the frame's tag was made under `frameKey`.
void CheckTag(const Frame& frame, ByteView frameKey);

}  // namespace KsvDisplay::Channel
