#include "bridge/host/caller.h"

#include <algorithm>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string_view>

#include "kit/program/paths.h"

namespace Bridge {
namespace {

constexpr char kChromiumCaller[] = "chrome-extension://" KSV_CHROMIUM_ID "/";
constexpr char kFirefoxId[] = KSV_FIREFOX_ID;

bool ManifestAllows(const std::string& path, const std::string& id) {
  std::ifstream file(Kit::PathOf(path));
  const auto manifest = nlohmann::json::parse(file, nullptr, false);
  if (!manifest.is_object() || !manifest.contains("allowed_extensions")) return false;
  const auto& allowed = manifest["allowed_extensions"];
  return allowed.is_array() && std::find(allowed.begin(), allowed.end(), id) != allowed.end();
}

}  // namespace

std::optional<std::string> RefuseCaller(std::vector<std::string> arguments) {
  // On Windows Chromium tells its window too.
  std::erase_if(arguments, [](std::string_view argument) { return argument.starts_with("--parent-window="); });
  if (arguments.size() < 2) return "This program is started by a browser, for its extension. See --help.";
  if (arguments.size() == 2 && arguments[1] == kChromiumCaller) return std::nullopt;
  if (arguments.size() == 3 && arguments[2] == kFirefoxId) {
    if (ManifestAllows(arguments[1], arguments[2])) return std::nullopt;
    return arguments[1] + " does not allow the extension " + arguments[2] + ": install the plug-in again.";
  }
  return "Another extension than the plug-in's asked for the host: " + arguments.back() + ".";
}

}  // namespace Bridge
