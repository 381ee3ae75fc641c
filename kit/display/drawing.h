#pragma once

#include <optional>

#include "kit/display/layout.h"

namespace KsvDisplay {

/// What an image tells about the input, beside how much of it there is.
enum class Notice : uint8_t { kNone, kMissing, kRejected, kTaken, kCancelled };

/// What changes of an image while it is shown.
struct Progress {
  size_t entered = 0;
  bool closed = false;
  /// The key that is held down; null for none.
  const Key* pressed = nullptr;
  Notice notice = Notice::kNone;
  /// As the page told.
  std::optional<uint32_t> attemptsLeft;
};

/// A described image. Throws what `Painter::MeasureText` does.
Scene DrawScene(const Descriptor& descriptor, const Layout& layout, std::string_view digits, const Progress& progress);

/// A remote image: its pixels alone.
Scene DrawScene(const PixelsPtr& pixels);

}  // namespace KsvDisplay
