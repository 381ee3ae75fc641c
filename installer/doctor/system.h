/// What the doctor says and looks at in each system's own way.
#pragma once

#include <string>

#include "installer/doctor/report.h"

namespace NorvoWebAPI::KSV::Doctor {

/// A path as this system writes it.
std::string ShowPath(const std::string& path);
/// The place of the settings, as an administrator of this system names it.
std::string ShowSettingsPlace();
/// The end of the sentence "Set FILELOCALE …".
std::string HowToSetFolder();
/// What to do when the base folder can't be found from `AppData`.
std::string HowToSetAppData();
/// What to do when the updater's time is missing or too old.
std::string HowToUpdate();

/// What holds the settings, if that can be missing or broken itself. False when no setting can be read from it.
bool ExamineSettingsStore(Report& report);
/// Whether the plug-in logs, and where its lines go.
void ExamineLog(Report& report);

}  // namespace NorvoWebAPI::KSV::Doctor
