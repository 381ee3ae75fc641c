#pragma once

#include "platform/win32.h"

namespace NorvoWebAPI {

/// The handle of the module that contains this code. A hook for all threads needs it.
HINSTANCE OwnModule();

}  // namespace NorvoWebAPI
