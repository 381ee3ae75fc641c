#pragma once

#include "platform/never_destroyed.h"

namespace NorvoWebAPI {

using platform::NeverDestroyed;

}  // namespace NorvoWebAPI
