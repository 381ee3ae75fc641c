#pragma once

#include "display/display_entries.h"

namespace NorvoWebAPI::KSV {

/// Reads a point that script writes as {x,y}, such as {120,45}. What stands around the braces is ignored, a number is
/// read as far as it goes and cut to its low 16 bits, and an absent one is 0. False, with `*out` as it was, unless the
/// text has one "{", one "," and, at or behind the comma, one "}".
bool ParsePoint(const char* text, WysPoint* out);

}  // namespace NorvoWebAPI::KSV
