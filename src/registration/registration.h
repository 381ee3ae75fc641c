/// The registration of this plug-in's own module.
#pragma once

#include <string>
#include <vector>

#include "platform/win32.h"
#include "registration/plugin_keys.h"

namespace NorvoWebAPI::KSV::Registration {

/// The folder that the running installation hands to its custom actions, up to the first zero. Throws
/// `std::runtime_error` when the installer doesn't give it, or gives none.
std::string ReadInstallerFolder(MSIHANDLE installation);

/// Tells browsers that the module lies in `folder`, which has to end in its own backslash. Throws as `WritePluginKeys`.
void RegisterModule(const std::string& folder);

/// Takes the registration away, if there is one. Gives what `DeleteKeyTree` gives.
LSTATUS UnregisterModule();

/// The module's path as it is registered. Gives what `ReadText` gives.
LSTATUS ReadRegisteredPath(std::string& path);

/// What of the registration is missing or wrong. Whatever path is registered is taken for right.
std::vector<Difference> CheckRegistration();

}  // namespace NorvoWebAPI::KSV::Registration
