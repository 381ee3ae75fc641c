#pragma once

#include <optional>

#include "kit/display/event_thread.h"
#include "kit/display/layout.h"
#include "kit/display/raster.h"
#include "kit/display/sealed_input.h"

namespace KsvDisplay {

/// An image that stands in a window, with what the user has entered on it. Not for several threads at once.
class Image {
 public:
  /// Draws the order of the digits. `source` is what the image was made from.
  Image(Descriptor descriptor, Point origin, std::string caption, ByteView source);
  /// A remote image: clicks on it are the input.
  Image(PixelsPtr frame, uint32_t id, Point origin, ByteView source);

  uint32_t id() const { return descriptor_.imageId; }
  Point origin() const { return origin_; }
  /// In the window's client area.
  Rect area() const { return {origin_.x, origin_.y, descriptor_.size.x, descriptor_.size.y}; }

  /// Positions are in the window's client area. Both give the bits of the event that arises, 0 for none, and throw
  /// kInputClosed.
  uint32_t Press(Point at);
  uint32_t Release(Point at);

  /// Empties and opens the input, and draws the digits anew. When no random bytes are to be had, it changes nothing.
  void Clear();
  /// Closes the input. Throws kInputIncomplete and kInputClosed, and kWrongInputType for an image that needs a text.
  void Submit();
  /// Takes the text as the whole input. `limit` is the most units that are read. Throws kWrongInputType, kBadText and
  /// kInputClosed.
  void SubmitText(const WideChar* text, size_t limit);

  /// Throws kInputIncomplete.
  Input CompleteInput() const;

  Scene Draw() const;
  /// The keys with their labels and areas in the window's client area, as `KSV_DISPLAY_LAYOUT` tells them.
  std::string ListKeys() const;

  /// The picture of the last repaint, while nothing has changed since.
  std::shared_ptr<const Picture> picture;

 private:
  const Key* KeyAt(Point at) const;
  uint32_t UseKey(const Key& key);
  void Shuffle();
  bool IsComplete() const;
  uint32_t Changed();

  Descriptor descriptor_;
  Point origin_;
  std::string caption_;
  std::array<uint8_t, 32> digest_;
  Layout layout_;
  /// A remote image's; null for a described one.
  PixelsPtr frame_;
  /// The digits in the order of their places.
  SecretBytes digits_;
  SecretBytes input_;
  /// Characters of a typed text; else digits, confirmations or clicks.
  size_t entered_ = 0;
  bool isDown_ = false;
  std::optional<size_t> pressedKey_;
  bool closed_ = false;
};

}  // namespace KsvDisplay
