#include "installer/doctor/bridge_browsers.h"

#include <algorithm>
#include <filesystem>

#include "installer/doctor/texts.h"
#include "kit/program/paths.h"
#include "platform/system_path.h"

namespace NorvoWebAPI::KSV::Doctor {

const char* ExtensionId(bool isFirefox) {
  return isFirefox ? KSV_FIREFOX_ID : KSV_CHROMIUM_ID;
}

void Policies::Add(const std::string& place, const Json& policies) {
  if (!policies.is_object()) return;
  for (const auto& [name, value] : policies.items()) {
    values[name] = value;
    places[name] = place;
  }
}

std::vector<std::string> EntriesOf(const std::string& folder) {
  constexpr size_t kMost = 1000;
  std::vector<std::string> entries;
  std::error_code error;
  std::filesystem::directory_iterator each(Kit::PathOf(ToUtf8(SystemPath(folder))), error);
  for (; !error && each != std::filesystem::directory_iterator() && entries.size() < kMost; each.increment(error)) {
    entries.push_back(NarrowFromUtf8(Kit::TextOf(each->path())));
  }
  std::ranges::sort(entries);
  return entries;
}

}  // namespace NorvoWebAPI::KSV::Doctor
