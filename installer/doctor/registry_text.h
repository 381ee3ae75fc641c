/// Texts in the registry, on Windows only. They are narrow.
#pragma once

#include <string>

#include "platform/win32.h"

namespace NorvoWebAPI::KSV::Doctor {

/// Reads a value; the lines of a `REG_MULTI_SZ` become lines of the text. `view` is 0 or the flag of a view. Gives the
/// system's error, or `ERROR_INVALID_DATA` for a value that is no text or longer than 1 MiB.
LSTATUS ReadText(HKEY root, const std::string& keyName, const char* value, REGSAM view, std::string& text);

}  // namespace NorvoWebAPI::KSV::Doctor
