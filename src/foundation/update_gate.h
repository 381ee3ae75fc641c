#pragma once

#include <string>

namespace NorvoWebAPI::Platform {

/// True when the agent must not be served: the updater's last run for the platform `suffix` lies 48 hours or more in
/// the past, or can't be read. The file is read at every call, since the updater may write it at any time. Never
/// throws.
bool IsUpdateOverdue(const std::string& suffix);

}  // namespace NorvoWebAPI::Platform
