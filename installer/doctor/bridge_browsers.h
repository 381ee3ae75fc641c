/// Where the bridge's browsers look for its parts, on each system in its own way. All paths and texts are narrow.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "installer/doctor/json_text.h"

namespace NorvoWebAPI::KSV::Doctor {

/// The native host's name, by which the extension asks for it.
inline constexpr char kHostName[] = "com.norvo.ksv";

/// The id of the plug-in's extension in a browser.
const char* ExtensionId(bool isFirefox);

/// The policies that the doctor knows: lists of ids or names, and one object.
inline constexpr char kForcelist[] = "ExtensionInstallForcelist";
inline constexpr char kBlocklist[] = "ExtensionInstallBlocklist";
inline constexpr char kAllowlist[] = "ExtensionInstallAllowlist";
inline constexpr char kHostBlocklist[] = "NativeMessagingBlocklist";
inline constexpr char kHostAllowlist[] = "NativeMessagingAllowlist";
inline constexpr const char* kPolicyLists[] = {kForcelist, kBlocklist, kAllowlist, kHostBlocklist, kHostAllowlist};
inline constexpr char kSettings[] = "ExtensionSettings";
inline constexpr char kInstallationMode[] = "installation_mode";
/// Stands among the policies because it does the same: Firefox on Linux installs the package that lies in its folder
/// for all users.
inline constexpr char kPackageForAll[] = "package for all users";

/// Whether a native manifest may name its host by a path that is relative to the manifest.
extern const bool kHostMayBeRelative;

/// What an administrator has laid down for a browser.
struct Policies {
  Json values = Json::object();               ///< By the policy's name, as Chromium and Firefox document them.
  std::map<std::string, std::string> places;  ///< Where each one was found.
  std::string problem;                        ///< Of the first file or value that can't be understood.

  void Add(const std::string& place, const Json& policies);
};

struct BridgeBrowser {
  std::string name;
  bool isFirefox = false;
  std::string manifest;               ///< The path of the native manifest that it takes; empty when none is registered.
  std::string searched;               ///< Where that was looked for.
  std::vector<std::string> profiles;  ///< Folders of this user with profiles in them.
  Policies policies;
};

/// All browsers that the bridge is for. `root` is put before the machine's own folders: a test has others there.
std::vector<BridgeBrowser> FindBridgeBrowsers(const std::string& root);

}  // namespace NorvoWebAPI::KSV::Doctor
