#pragma once

#include <span>
#include <vector>

#include "kit/display/scene.h"

namespace KsvDisplay {

/// A picture in memory: 0x00RRGGBB a pixel, rows from the top.
struct Picture {
  int width = 0;
  int height = 0;
  /// Secret, because the digits can be read from them.
  std::vector<Colour, WipingAllocator<Colour>> pixels;

  Colour& At(int x, int y) {
    return pixels[static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x)];
  }
};

/// `over` with an opacity of `share` (0 to 255) on `under`.
Colour Blend(Colour under, Colour over, int share);

/// The scene's panels, pixels and strokes, anti-aliased. `Painter::DrawLabels` draws the labels.
Picture DrawShapes(const Scene& scene);

}  // namespace KsvDisplay
