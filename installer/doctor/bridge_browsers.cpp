#include "installer/doctor/bridge_browsers.h"

#include <algorithm>

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

std::string NarrowOf(std::filesystem::path path) {
  const std::u8string text = path.make_preferred().u8string();
  return NarrowFromUtf8({text.begin(), text.end()});
}

std::vector<std::string> EntriesOf(const std::string& folder) {
  constexpr size_t kMost = 1000;
  std::vector<std::string> entries;
  std::error_code error;
  std::filesystem::directory_iterator each(Kit::PathOf(ToUtf8(SystemPath(folder))), error);
  for (; !error && each != std::filesystem::directory_iterator() && entries.size() < kMost; each.increment(error)) {
    entries.push_back(NarrowOf(each->path()));
  }
  std::ranges::sort(entries);
  return entries;
}

}  // namespace NorvoWebAPI::KSV::Doctor
