#pragma once

#include "vendor/ksvwys.h"

namespace KsvDisplay {

using Point = WysPoint;

inline bool operator==(Point one, Point other) {
  return one.x == other.x && one.y == other.y;
}

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
