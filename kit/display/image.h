#pragma once

#include <optional>

#include "kit/display/drawing.h"
#include "kit/display/events.h"
#include "kit/display/raster.h"
#include "kit/display/request.h"
#include "kit/display/sealed_input.h"
#include "kit/display/verdict.h"
#include "kit/display/window_watch.h"

namespace KsvDisplay {

/// An image in a window, with the user's input. Not thread-safe.
class Image {
 public:
  /// Chooses a random order of the digits. `source` are the bytes that describe the image; they, the texts and the
  /// challenge are sealed with the input. Throws what `LayOut` does.
  Image(Descriptor descriptor, Point origin, std::string caption, Request request, ByteView source);
  /// A remote image: clicks on it are the input.
  Image(PixelsPtr frame, uint32_t id, Point origin, std::string challenge, ByteView source);

  bool isRemote() const { return frame_ != nullptr; }
  uint32_t id() const { return descriptor_.imageId; }
  Point origin() const { return origin_; }
  /// In the window's client area.
  Rect area() const { return {origin_.x, origin_.y, descriptor_.size.x, descriptor_.size.y}; }

  /// Positions are in the window's client area. Both return the bits of the event to post, 0 for none, and throw
  /// kInputClosed.
  uint32_t Press(Point at);
  uint32_t Release(Point at);
  /// A key of the keyboard, as a press of the key on the pad. Nothing when the image takes no keys. A digit counts
  /// whatever the order on the pad is.
  std::optional<uint32_t> Type(TypedKey typed);
  bool takesKeys() const { return descriptor_.type == InputType::kPin && descriptor_.takesKeys; }

  /// Clears and reopens the input, and shuffles the digits. Changes nothing when it throws.
  void Clear();
  /// Closes and so completes the input, of which the least number is enough. Throws kInputIncomplete and kInputClosed,
  /// and kWrongInputType for an image that requires a text.
  void Submit();
  /// Makes the text the whole input and closes it. Reads at most `limit` units. Throws kWrongInputType, kBadText and
  /// kInputClosed.
  void SubmitText(const WCHAR* text, size_t limit);

  /// Input is complete at OK, at the greatest number of digits, or when it has been closed. Throws kInputIncomplete and
  /// kInputCancelled.
  Input CompleteInput() const;
  /// Clears and closes the input because it was given out or cancelled.
  void Finish(Notice why);
  /// Shows what the page tells of the last input. After an error the input is clear, and open while attempts are left.
  void Tell(const Verdict& verdict);

  Scene Draw() const;
  /// Digits on the pad count from now on, until their order changes.
  void NoteShown() { orderIsShown_ = true; }
  /// The keys for `Disclosure::KeysFile`, a line each: their names and areas in the window's client area.
  std::string ListKeys() const;

  /// The picture of the last repaint; null when the image has changed since.
  std::shared_ptr<const Picture> picture;
  /// Whoever shows the image sets it; it ends with the image.
  WindowWatch watch;

 private:
  const Key* KeyAt(Point at) const;
  uint32_t UseKey(const Key& key);
  uint32_t Enter(uint8_t digit);
  std::string Texts() const;
  void Shuffle();
  bool HasEnough() const;
  bool IsComplete() const;
  uint32_t Changed();

  Descriptor descriptor_;
  Point origin_;
  std::string caption_;
  Request request_;
  std::array<uint8_t, 32> digest_;
  Layout layout_;
  /// A remote image's; null for a described one.
  PixelsPtr frame_;
  /// The digits of the ten places, in their order.
  SecretBytes digits_;
  bool orderIsShown_ = false;
  SecretBytes input_;
  /// Characters of a typed text; else digits, confirmations or clicks.
  size_t entered_ = 0;
  /// OK was pressed with enough entered.
  bool isConfirmed_ = false;
  bool isDown_ = false;
  std::optional<size_t> pressedKey_;
  bool closed_ = false;
  Notice notice_ = Notice::kNone;
  std::optional<uint32_t> attemptsLeft_;
};

}  // namespace KsvDisplay
