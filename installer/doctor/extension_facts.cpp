#include "installer/doctor/extension_facts.h"

#include <algorithm>

#include "installer/doctor/file_facts.h"
#include "installer/doctor/json_text.h"

namespace NorvoWebAPI::KSV::Doctor {
namespace {

// In Chromium's profile: in a folder of its own, or wherever the preferences say that it lies unpacked.
std::vector<Extension> ReadChromiumProfile(const std::string& profile, const std::string& id) {
  std::vector<std::string> folders = EntriesOf(profile + "/Extensions/" + id);
  bool isOn = true;
  for (const char* file : {"Preferences", "Secure Preferences"}) {
    const JsonText preferences = ReadJsonFile(profile + "/" + file);
    const Json& own = MemberOf(MemberOf(MemberOf(preferences.content, "extensions"), "settings"), id);
    const Json& reasons = MemberOf(own, "disable_reasons");
    isOn = isOn && (reasons.empty() || reasons == 0);  // A list, or a number in older versions.
    if (const std::string path = TextOf(own, "path"); PathOf(path).is_absolute()) folders.push_back(path);
  }
  std::vector<Extension> extensions;
  for (const std::string& folder : folders) {
    const JsonText manifest = ReadJsonFile(folder + "/manifest.json");
    if (manifest.problem.empty()) extensions.push_back({folder, TextOf(manifest.content, "version"), isOn});
  }
  return extensions;
}

std::vector<Extension> ReadFirefoxProfile(const std::string& profile, const std::string& id) {
  std::vector<Extension> extensions;
  const JsonText list = ReadJsonFile(profile + "/extensions.json");
  for (const Json& addon : MemberOf(list.content, "addons")) {
    if (MemberOf(addon, "id") != id) continue;
    extensions.push_back({profile, TextOf(addon, "version"), MemberOf(addon, "active") == true});
  }
  return extensions;
}

std::string ModeOf(const Policies& policies, const std::string& id) {
  return TextOf(MemberOf(MemberOf(policies.values, kSettings), id), kInstallationMode);
}

}  // namespace

Extension FindExtension(const BridgeBrowser& browser, const std::string& id) {
  Extension first;
  const auto read = browser.isFirefox ? ReadFirefoxProfile : ReadChromiumProfile;
  for (const std::string& root : browser.profiles) {
    for (const std::string& profile : EntriesOf(root)) {
      for (const Extension& extension : read(profile, id)) {
        if (extension.isOn) return extension;
        if (first.place.empty()) first = extension;
      }
    }
  }
  return first;
}

bool IsInstalled(const BridgeBrowser& browser) {
  return std::ranges::any_of(browser.profiles, [](const std::string& folder) { return !EntriesOf(folder).empty(); });
}

std::string FindForcingPolicy(const Policies& policies, const std::string& id) {
  if (policies.places.contains(kPackageForAll)) return kPackageForAll;
  if (ModeOf(policies, id) == "force_installed") return kSettings;
  for (const Json& entry : MemberOf(policies.values, kForcelist)) {
    if (entry.is_string() && (entry == id || entry.get<std::string>().starts_with(id + ";"))) return kForcelist;
  }
  return {};
}

std::string FindBlockingPolicy(const Policies& policies, const std::string& id) {
  const auto bans = [&](const char* blocked, const char* allowed, const std::string& name) {
    const Json& list = MemberOf(policies.values, blocked);
    return (Lists(list, name) || Lists(list, "*")) && !Lists(MemberOf(policies.values, allowed), name);
  };
  const std::string own = ModeOf(policies, id);
  const bool isForced = !FindForcingPolicy(policies, id).empty();
  if (own == "blocked" || own == "removed") return kSettings;
  if (own.empty() && !isForced && ModeOf(policies, "*") == "blocked") return kSettings;
  if (!isForced && bans(kBlocklist, kAllowlist, id)) return kBlocklist;
  return bans(kHostBlocklist, kHostAllowlist, kHostName) ? kHostBlocklist : "";
}

}  // namespace NorvoWebAPI::KSV::Doctor
