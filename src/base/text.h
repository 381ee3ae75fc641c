/// Text between script, the libraries and the system: the ANSI code page on the narrow side, UTF-16 on the wide one.
#pragma once

#include <optional>
#include <string>

#include "base/owner.h"
#include "platform/win32.h"

namespace NorvoWebAPI {

/// An owned automation string.
using Bstr = Owner<BSTR, SysFreeString>;

/// Wide form of a terminated text; a null text gives a null string. Throws `_com_error` with the system's error, or
/// E_OUTOFMEMORY.
Bstr BstrFromNarrow(const char* text);

/// Wide form of a whole text, which may hold zeros. Throws `CPluginException` 13, also for an empty text.
Bstr BstrOfExactLength(const std::string& text);

/// Narrow form of a wide string; null gives nothing. Throws as `BstrFromNarrow`.
std::optional<std::string> NarrowFromBstr(BSTR text);

}  // namespace NorvoWebAPI
