#pragma once

#include "base/owner.h"
#include "platform/win32.h"

namespace NorvoWebAPI {

/// An open registry key.
using RegistryKey = Owner<HKEY, RegCloseKey>;

}  // namespace NorvoWebAPI
