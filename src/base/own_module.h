#pragma once

#include "platform/win32.h"

namespace NorvoWebAPI {

/// The module that holds this code, which a hook for all threads needs.
HINSTANCE OwnModule();

}  // namespace NorvoWebAPI
