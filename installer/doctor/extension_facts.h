/// What a browser's profiles have of the plug-in's extension, and what its policies say of it.
#pragma once

#include <string>

#include "installer/doctor/bridge_browsers.h"

namespace NorvoWebAPI::KSV::Doctor {

struct Extension {
  std::string place;  ///< Empty when no profile of this user has it.
  std::string version;
  bool isOn = false;
};

/// The first one that is switched on, or else the first of all.
Extension FindExtension(const BridgeBrowser& browser, const std::string& id);
/// Whether this user has a profile of the browser's.
bool IsInstalled(const BridgeBrowser& browser);

/// The policy that installs the extension without asking, so that it may block requests; empty when none does.
std::string FindForcingPolicy(const Policies& policies, const std::string& id);
/// The policy that keeps the extension or the host from working; empty when none does.
std::string FindBlockingPolicy(const Policies& policies, const std::string& id);

}  // namespace NorvoWebAPI::KSV::Doctor
