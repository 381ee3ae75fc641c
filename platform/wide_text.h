/// Wide text has 16-bit units on every system. This much of the platform's types is a header of its own, for those who
/// need no more of the platform.
#pragma once

#ifdef _WIN32

using WCHAR = wchar_t;
/// A wide literal in the platform's own unit.
#define KSV_WIDE(text) L##text

#else

using WCHAR = char16_t;
/// A wide literal in the platform's own unit.
#define KSV_WIDE(text) u##text

#endif
