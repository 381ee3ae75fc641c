#pragma once

#include "display/display_entries.h"

namespace NorvoWebAPI::KSV {

/// Reads a point such as {120,45}. Text outside of the braces is ignored. A number ends at its first character that is
/// no digit; its low 16 bits count, and a missing number is 0. False, with `*out` unchanged, unless the text has
/// exactly one "{", one "," and, after the comma, one "}".
bool ParsePoint(const char* text, WysPoint* out);

}  // namespace NorvoWebAPI::KSV
