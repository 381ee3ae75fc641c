/// The doctor's checks, a group for each link of the chain; they add their lines to the report.
#pragma once

#include <optional>

#include "installer/doctor/report.h"
#include "storage/settings.h"

namespace NorvoWebAPI::KSV::Doctor {

/// The settings key, its two values, and the folder that they lead to. Gives the folder if it is there.
std::optional<LibraryPath> ExamineSettings(Report& report);
/// The libraries in the folder, and their entry points.
void ExamineAgent(Report& report, const std::optional<LibraryPath>& folder);
void ExamineDisplay(Report& report, const std::optional<LibraryPath>& folder);
/// The base folder, and the updater's time in it.
void ExamineUpdate(Report& report);
/// The registry tree, and the module that it names.
void ExamineRegistration(Report& report);

/// The kind of module that a browser of this program's kind loads, as `ModuleKind` tells it.
const char* OwnKind();

}  // namespace NorvoWebAPI::KSV::Doctor
