#pragma once

#include <string>
#include <vector>

#include "kit/display/descriptor.h"

namespace KsvDisplay {

/// 0x00RRGGBB.
using Colour = uint32_t;

/// A rectangle with round corners, shaded from top to bottom.
struct Panel {
  Rect area;
  int radius = 0;
  Colour top = 0;
  Colour bottom = 0;
  Colour border = 0;
  /// How far a soft shadow reaches; 0 for none.
  int shadow = 0;
};

struct PlacedPixels {
  Rect area;
  PixelsPtr pixels;
};

/// One line of text, centred; what does not fit is cut.
struct Label {
  Rect area;
  /// UTF-8.
  std::string text;
  /// Of a line, in pixels.
  int height = 0;
  bool bold = false;
  Colour colour = 0;
};

/// The order of the digits is in them, short enough to stand in the vector's own memory, which is wiped.
using Labels = std::vector<Label, WipingAllocator<Label>>;

/// What an image looks like, for the painters of all systems: panels, pixels and labels, painted in this order. Areas
/// are within the image.
struct Scene {
  int width = 0;
  int height = 0;
  std::vector<Panel> panels;
  std::vector<PlacedPixels> pixels;
  Labels labels;
};

}  // namespace KsvDisplay
