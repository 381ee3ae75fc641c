#pragma once

#include <cstdint>
#include <string>

namespace NorvoWebAPI::Platform {

/// The age in seconds from which on an update is too old: 48 hours.
inline constexpr int64_t kMaxUpdateAge = 172'800;

/// When the updater last ran for the platform `suffix`, in seconds since 1970 UTC; 0 when its file holds no number, or
/// one out of range.
/// Throws `std::runtime_error` when the file can't be read.
int64_t ReadLastUpdate(const std::string& suffix);

/// True when the agent library must not be called: the updater's last run for the platform `suffix` was 48 hours ago or
/// earlier, or its time can't be read. Reads the file at every call, because the updater may write it at any time.
/// Never throws.
bool IsUpdateOverdue(const std::string& suffix);

}  // namespace NorvoWebAPI::Platform
