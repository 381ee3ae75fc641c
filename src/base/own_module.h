#pragma once

#include "platform/win32.h"

namespace NorvoWebAPI {

/// The module that this code lies in. The system wants it for a hook that serves all threads.
HINSTANCE OwnModule();

}  // namespace NorvoWebAPI
