#pragma once

#include <optional>
#include <string>
#include <vector>

namespace Bridge {

/// Whether the program was started by the project's own extension, as the browser tells by the arguments: Chromium
/// gives "chrome-extension://ID/", Firefox the native manifest's path and the extension's id. Gives what is wrong.
std::optional<std::string> RefuseCaller(std::vector<std::string> arguments);

}  // namespace Bridge
