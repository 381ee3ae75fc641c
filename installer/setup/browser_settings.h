/// What the package sets for browsers beyond the keys that it writes by its own tables: policies, whose lists it shares
/// with the administrator, and the update manifest, which has the folder of the installation in it.
#pragma once

#include <string>
#include <vector>

namespace NorvoWebAPI::KSV::Setup {

/// What the administrator has chosen.
struct Choices {
  std::wstring folder;                 ///< Of the installed files, with a backslash at its end.
  std::vector<std::wstring> browsers;  ///< The names of their features in the package.
  std::vector<std::wstring> sites;     ///< Origins that may use the plug-in; none: all may.
  bool forceInstall = false;           ///< Chromium, Chrome and Edge are to install the extension.
};

/// Reads the action's data in the form `INSTALLFOLDER|browser,…|SITES|FORCEINSTALL`. Throws `std::invalid_argument`,
/// whose text is for the administrator, when a property is not understood.
Choices ReadChoices(const std::wstring& properties);

/// Writes the policies in place of those of an earlier call, and the folder into the update manifest. Throws
/// `std::runtime_error` at the first failure; what was written by then stays.
void Apply(const Choices& choices);

/// Removes the policies of this package and the keys that are empty then. Values of others stay.
void Withdraw();

}  // namespace NorvoWebAPI::KSV::Setup
