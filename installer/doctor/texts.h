/// Texts on their way to a person. "Narrow" is the ANSI code page, as everywhere in the plug-in.
#pragma once

#include <string>

#include "platform/win32.h"

namespace NorvoWebAPI::KSV::Doctor {

/// Conversions. What can't be converted is replaced.
std::string Narrow(const WCHAR* text);
std::string ToUtf8(const std::string& narrow);
std::basic_string<WCHAR> WideFromUtf8(const std::string& utf8);
std::string NarrowFromUtf8(const std::string& utf8);

/// Narrow text as UTF-8, with each control character as \xHH: no file's content moves the cursor or makes a line.
std::string Printable(const std::string& narrow);

}  // namespace NorvoWebAPI::KSV::Doctor
