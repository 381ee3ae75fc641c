#pragma once

#include <cstdint>

namespace KsvDisplay {

/// A position or a size as hosts hand it over: in pixels, from the upper left corner.
struct Point {
  uint16_t x = 0;
  uint16_t y = 0;

  bool operator==(const Point&) const = default;
};

struct Rect {
  int x = 0;
  int y = 0;
  int width = 0;
  int height = 0;

  bool Contains(int atX, int atY) const { return atX >= x && atY >= y && atX < x + width && atY < y + height; }
  int right() const { return x + width; }
  int bottom() const { return y + height; }
};

}  // namespace KsvDisplay
