#pragma once

#include "kit/display/scene.h"

namespace KsvDisplay {

struct Key {
  enum class Kind { kDigit, kClear, kOk };
  Kind kind;
  Rect area;
};

/// Where everything of a described image stands.
struct Layout {
  Rect caption;
  Rect logo;
  Rect title;
  /// Of the progress boxes, or of the field of a typed text.
  Rect progress;
  /// The ten places for digits first, if any.
  std::vector<Key> keys;
};

constexpr size_t kDigitCount = 10;

Layout LayOut(const Descriptor& descriptor, bool hasCaption);

/// What stands on one of the layout's keys. `digits` are those of the ten places, in their order.
std::string LabelOf(const Layout& layout, const Key& key, std::string_view digits);

/// What of an image changes while it stands.
struct Progress {
  size_t entered = 0;
  bool closed = false;
  /// The key that is held down; null for none.
  const Key* pressed = nullptr;
};

Scene DrawScene(const Descriptor& descriptor, const Layout& layout, const std::string& caption, std::string_view digits,
                const Progress& progress);

/// A remote image: its pixels and nothing else.
Scene DrawScene(const PixelsPtr& pixels);

}  // namespace KsvDisplay
