#pragma once

#include "kit/display/scene.h"

namespace KsvDisplay {

/// The height of a line of text in a font of the given height.
constexpr int LineHeight(int fontHeight) {
  return fontHeight * 5 / 4;
}

/// Breaks a label's text into at most `mostLines` lines, in a smaller font if need be, and centres them in its area.
/// No part of a text is ever left out: throws kBadText when it does not fit in the smallest font. Throws what
/// `Painter::MeasureText` does.
Labels FitText(const Label& label, size_t mostLines = 1);

}  // namespace KsvDisplay
