#pragma once

#include <span>
#include <vector>

#include "kit/display/scene.h"

namespace KsvDisplay {

/// A picture in memory: 0x00RRGGBB a pixel, rows from the top.
struct Picture {
  int width = 0;
  int height = 0;
  /// The digits can be read from it.
  std::vector<Colour, WipingAllocator<Colour>> pixels;

  Colour& At(int x, int y) {
    return pixels[static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)];
  }
};

/// `over` laid on `under`, with 0 for nothing of it and 255 for all of it.
Colour Blend(Colour under, Colour over, int share);

/// The scene's panels and pixels, with smooth edges. Labels are for the system's own letters (painter.h).
Picture DrawShapes(const Scene& scene);

}  // namespace KsvDisplay
