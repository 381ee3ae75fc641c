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
  /// The width of a soft shadow; 0 for none.
  int shadow = 0;
  /// The width of the border.
  int edge = 1;
};

/// A line with round ends, for signs that not every font has.
struct Stroke {
  int fromX = 0;
  int fromY = 0;
  int toX = 0;
  int toY = 0;
  int width = 0;
  Colour colour = 0;
};

struct PlacedPixels {
  Rect area;
  PixelsPtr pixels;
};

/// One line of text, centred and clipped.
struct Label {
  Rect area;
  /// UTF-8.
  std::string text;
  /// Of the font, in pixels.
  int height = 0;
  bool bold = false;
  Colour colour = 0;
};

/// Secret, because they have the order of the digits. A digit is so short that it is stored within the vector's memory,
/// which is wiped.
using Labels = std::vector<Label, WipingAllocator<Label>>;

/// What an image looks like on every system: panels, pixels, strokes and labels, painted in this order. Areas are
/// relative to the image.
struct Scene {
  int width = 0;
  int height = 0;
  std::vector<Panel> panels;
  std::vector<PlacedPixels> pixels;
  std::vector<Stroke> strokes;
  Labels labels;
};

}  // namespace KsvDisplay
