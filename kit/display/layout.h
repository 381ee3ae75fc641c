#pragma once

#include "kit/display/scene.h"

namespace KsvDisplay {

struct Key {
  enum class Kind { kDigit, kDelete, kClear, kCancel, kOk };
  Kind kind;
  Rect area;
};

/// The areas of a described image, and the texts in it that do not change, whose colours are still open.
struct Layout {
  /// All sizes are multiples of it: a thirty-second part of the image's width or, where that is less, of the width
  /// that suits its height.
  int unit = 0;
  Rect band;
  Labels caption;
  Rect logo;
  Rect title;
  Labels reference;
  /// Of the progress boxes, or of the field of a typed text.
  Rect progress;
  /// Of the line that tells what is missing or wrong.
  Rect status;
  /// What a closed image has in place of all from the title on.
  Rect closing;
  /// The ten places for digits first, if any.
  std::vector<Key> keys;
};

constexpr size_t kDigitCount = 10;

/// The texts are UTF-8 and may be empty; `reference` is what the input is for, and stands below the title in at most
/// three lines. Throws kBadText when a text does not fit, and what `Painter::MeasureText` does.
Layout LayOut(const Descriptor& descriptor, const std::string& caption, const std::string& reference);

/// The name of one of the layout's keys, the same in every language. `digits` are those of the ten places, in their
/// order.
std::string NameOf(const Layout& layout, const Key& key, std::string_view digits);

}  // namespace KsvDisplay
