#pragma once

#include "kit/display/scene.h"

namespace KsvDisplay {

struct Key {
  enum class Kind { kDigit, kClear, kOk };
  Kind kind;
  Rect area;
};

/// The areas of a described image.
struct Layout {
  Rect caption;
  Rect logo;
  Rect title;
  /// Of the reference's lines; empty without one.
  Rect reference;
  /// Of the progress boxes, or of the field of a typed text.
  Rect progress;
  /// The ten places for digits first, if any.
  std::vector<Key> keys;
};

constexpr size_t kDigitCount = 10;

Layout LayOut(const Descriptor& descriptor, bool hasCaption);

/// The label of one of the layout's keys. `digits` are those of the ten places, in their order.
std::string LabelOf(const Layout& layout, const Key& key, std::string_view digits);

/// What changes of an image while it is shown.
struct Progress {
  size_t entered = 0;
  bool closed = false;
  /// The key that is held down; null for none.
  const Key* pressed = nullptr;
};

Scene DrawScene(const Descriptor& descriptor, const Layout& layout, const std::string& caption, std::string_view digits,
                const Progress& progress);

/// A remote image: its pixels alone.
Scene DrawScene(const PixelsPtr& pixels);

}  // namespace KsvDisplay
