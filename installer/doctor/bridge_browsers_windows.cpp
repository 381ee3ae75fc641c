#include <cstdlib>

#include "base/registry_key.h"
#include "installer/doctor/bridge_browsers.h"
#include "installer/doctor/registry_text.h"
#include "installer/doctor/texts.h"

namespace NorvoWebAPI::KSV::Doctor {

const bool kHostMayBeRelative = true;

namespace {

struct Row {
  const char* name;
  bool isFirefox;
  const char* key;       // Below SOFTWARE; the native manifest is registered in it.
  const char* policies;  // Below SOFTWARE\Policies.
  const char* variable;  // The environment variable that names the folder with the next one in it.
  const char* profiles;
};

constexpr Row kRows[] = {
    {"Chromium", false, "Chromium", "Chromium", "LOCALAPPDATA", "Chromium\\User Data"},
    {"Chrome", false, "Google\\Chrome", "Google\\Chrome", "LOCALAPPDATA", "Google\\Chrome\\User Data"},
    {"Edge", false, "Microsoft\\Edge", "Microsoft\\Edge", "LOCALAPPDATA", "Microsoft\\Edge\\User Data"},
    {"Firefox", true, "Mozilla", "Mozilla\\Firefox", "APPDATA", "Mozilla\\Firefox\\Profiles"}};

struct Hive {
  HKEY key;
  const char* name;
};

// A user's registration goes before the machine's, as browsers have it.
const Hive kHives[] = {{HKEY_CURRENT_USER, "HKEY_CURRENT_USER\\"}, {HKEY_LOCAL_MACHINE, "HKEY_LOCAL_MACHINE\\"}};

std::string FindManifest(const std::string& key) {
  std::string path;
  for (const Hive& hive : kHives) {
    for (const REGSAM view : {KEY_WOW64_32KEY, KEY_WOW64_64KEY}) {
      if (ReadText(hive.key, key, nullptr, view, path) == ERROR_SUCCESS && !path.empty()) return path;
    }
  }
  return {};
}

// A policy that is a list: the values of a key, whatever their names. Policies are the same in all views.
Json ReadList(HKEY root, const std::string& keyName) {
  constexpr DWORD kMost = 1000;
  Json list = Json::array();
  RegistryKey key;
  if (RegOpenKeyExA(root, keyName.c_str(), 0, KEY_READ, key.Put()) != ERROR_SUCCESS) return nullptr;
  for (DWORD index = 0; index < kMost; ++index) {
    char name[256];
    DWORD length = sizeof name;
    const LSTATUS error = RegEnumValueA(key.Get(), index, name, &length, nullptr, nullptr, nullptr, nullptr);
    if (error == ERROR_NO_MORE_ITEMS) break;
    std::string text;
    if (error != ERROR_SUCCESS || ReadText(root, keyName, name, 0, text) != ERROR_SUCCESS) continue;
    list.push_back(ToUtf8(text));
  }
  return list;
}

// A policy of JSON: a text, and a key for each extension, which may stand beside it.
JsonText ReadSettings(HKEY root, const std::string& key, const char* extension) {
  JsonText settings;
  std::string text;
  if (ReadText(root, key, kSettings, 0, text) == ERROR_SUCCESS) settings = ParseJson(ToUtf8(text));
  if (!settings.content.is_object()) settings.content = Json::object();
  for (const char* id : {extension, "*"}) {
    const std::string own = key + "\\" + kSettings + "\\" + id;
    if (ReadText(root, own, kInstallationMode, 0, text) != ERROR_SUCCESS) continue;
    settings.content[id] = {{kInstallationMode, ToUtf8(text)}};
  }
  return settings;
}

Policies ReadPolicies(const std::string& key, const char* extension) {
  Policies policies;
  for (const Hive& hive : kHives) {  // The machine's last: they win.
    const std::string place = hive.name + key;
    for (const char* name : kPolicyLists) {
      const Json list = ReadList(hive.key, key + "\\" + name);
      if (!list.is_null()) policies.Add(place, {{name, list}});
    }
    const auto [settings, problem] = ReadSettings(hive.key, key, extension);
    if (!problem.empty())
      policies.problem = std::string(kSettings).append(" of ").append(place).append(": ").append(problem);
    if (!settings.empty()) policies.Add(place, {{kSettings, settings}});
  }
  return policies;
}

}  // namespace

std::vector<BridgeBrowser> FindBridgeBrowsers(const std::string& /*root*/) {
  std::vector<BridgeBrowser> browsers;
  for (const Row& row : kRows) {
    const std::string key = std::string("SOFTWARE\\").append(row.key).append("\\NativeMessagingHosts\\") + kHostName;
    BridgeBrowser browser{row.name, row.isFirefox, FindManifest(key), key + " of the registry", {}, {}};
    const char* const folder = std::getenv(row.variable);
    if (folder && *folder) browser.profiles.push_back(std::string(folder) + "\\" + row.profiles);
    browser.policies = ReadPolicies(std::string("SOFTWARE\\Policies\\") + row.policies, ExtensionId(row.isFirefox));
    browsers.push_back(std::move(browser));
  }
  return browsers;
}

}  // namespace NorvoWebAPI::KSV::Doctor
