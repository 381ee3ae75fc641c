#include <cstdlib>

#include "installer/doctor/bridge_browsers.h"
#include "installer/doctor/file_facts.h"

namespace NorvoWebAPI::KSV::Doctor {

const bool kHostMayBeRelative = false;

namespace {

using Folders = std::vector<const char*>;

// Each in the order in which the browser looks. "~" is the user's home folder, "~config" the one of configurations.
struct Row {
  const char* name;
  bool isFirefox;
  Folders manifests;
  Folders profiles;
  Folders policies;
};

std::vector<Row> Rows() {
  return {{"Chromium",
           false,
           {"~config/chromium/NativeMessagingHosts", "/etc/chromium/native-messaging-hosts"},
           {"~config/chromium"},
           {"/etc/chromium/policies/managed"}},
          {"Chrome",
           false,
           {"~config/google-chrome/NativeMessagingHosts", "/etc/opt/chrome/native-messaging-hosts"},
           {"~config/google-chrome"},
           {"/etc/opt/chrome/policies/managed"}},
          {"Edge",
           false,
           {"~config/microsoft-edge/NativeMessagingHosts", "/etc/opt/edge/native-messaging-hosts"},
           {"~config/microsoft-edge"},
           {"/etc/opt/edge/policies/managed"}},
          {"Firefox",
           true,
           {"~/.mozilla/native-messaging-hosts", "/usr/lib/mozilla/native-messaging-hosts",
            "/usr/lib64/mozilla/native-messaging-hosts"},
           {"~/.mozilla/firefox", "~config/mozilla/firefox"},
           {"/etc/firefox/policies", "/usr/lib/firefox/distribution", "/usr/lib/firefox-esr/distribution",
            "/usr/share/firefox-esr/distribution"}}};
}

class FolderResolver {
 public:
  explicit FolderResolver(std::string root) : root(std::move(root)) {}

  // Empty for a folder of a user who has none.
  std::vector<std::string> Resolve(const Folders& folders) const {
    std::vector<std::string> resolved;
    for (const std::string folder : folders) {
      const bool isUsers = folder.starts_with('~');
      const std::string base = !isUsers ? root : folder.starts_with("~config/") ? configuration : home;
      if (!isUsers || !base.empty()) resolved.push_back(base + (isUsers ? folder.substr(folder.find('/')) : folder));
    }
    return resolved;
  }

 private:
  static std::string Variable(const char* name) {
    const char* const value = std::getenv(name);
    return value && value[0] == '/' ? value : "";
  }

  const std::string root;
  const std::string home = Variable("HOME");
  const std::string named = Variable("XDG_CONFIG_HOME");
  const std::string configuration = named.empty() && !home.empty() ? home + "/.config" : named;
};

Policies ReadPolicies(const std::vector<std::string>& folders, bool isFirefox) {
  Policies policies;
  for (const std::string& folder : folders) {
    for (const std::string& file : EntriesOf(folder)) {
      if (!file.ends_with(isFirefox ? "/policies.json" : ".json")) continue;
      const auto [content, problem] = ReadJsonFile(file);
      if (policies.problem.empty()) policies.problem = problem;
      policies.Add(file, isFirefox ? MemberOf(content, "policies") : content);
      if (isFirefox) return policies;  // It reads that of the first folder alone.
    }
  }
  return policies;
}

void AddPackageForAll(Policies& policies, const std::string& root) {
  const std::string path =
      root + "/usr/share/mozilla/extensions/{ec8030f7-c20a-464f-9b0e-13a3a9e97384}/" + ExtensionId(true) + ".xpi";
  if (FindFile(path) == Presence::There) policies.Add(path, {{kPackageForAll, true}});
}

}  // namespace

std::vector<BridgeBrowser> FindBridgeBrowsers(const std::string& root) {
  const FolderResolver folders(root);
  std::vector<BridgeBrowser> browsers;
  for (const Row& row : Rows()) {
    BridgeBrowser browser{row.name, row.isFirefox, "", "", folders.Resolve(row.profiles), {}};
    for (const std::string& place : folders.Resolve(row.manifests)) {
      const std::string path = place + "/" + kHostName + ".json";
      browser.searched.append(browser.searched.empty() ? "" : ", ").append(place);
      if (browser.manifest.empty() && FindFile(path) != Presence::Missing) browser.manifest = path;
    }
    browser.policies = ReadPolicies(folders.Resolve(row.policies), row.isFirefox);
    if (row.isFirefox) AddPackageForAll(browser.policies, root);
    browsers.push_back(std::move(browser));
  }
  return browsers;
}

}  // namespace NorvoWebAPI::KSV::Doctor
