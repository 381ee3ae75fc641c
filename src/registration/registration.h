/// The registration of this plug-in's own module.
#pragma once

#include <string>

#include "platform/win32.h"

namespace NorvoWebAPI::KSV::Registration {

/// The folder that the running installation hands to its custom actions, up to the first zero. Throws
/// `std::runtime_error` when the installer gives none.
std::string ReadInstallerFolder(MSIHANDLE installation);

/// Registers the module in `folder`, which ends in a backslash. Throws as `WritePluginKeys`.
void RegisterModule(const std::string& folder);

/// Removes the registration, if there is one. A failure is not reported.
void UnregisterModule();

}  // namespace NorvoWebAPI::KSV::Registration
