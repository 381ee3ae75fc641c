/// The doctor's checks, a group for each link of the chain; they add their lines to the report.
#pragma once

#include <optional>

#include "installer/doctor/probe.h"
#include "installer/doctor/report.h"
#include "storage/settings.h"

namespace NorvoWebAPI::KSV::Doctor {

/// Runs all checks, from the settings to the module that browsers find and the bridge to those that load none. Loads
/// the libraries and the module as the plug-in and the browser do, but in processes of their own, and calls nothing in
/// them. Starts the native host, and asks it for an instance. Changes nothing. `root` is that of `ExamineBridge`.
void Examine(Report& report, const Prober& prober, const std::string& root);

/// The settings, their values, and the folder that they lead to. Gives the folder if it is there.
std::optional<LibraryPath> ExamineSettings(Report& report);
/// The libraries in the folder, and their entry points.
void ExamineAgent(Report& report, const Prober& prober, const std::optional<LibraryPath>& folder);
void ExamineDisplay(Report& report, const Prober& prober, const std::optional<LibraryPath>& folder);
/// The base folder, and the updater's time in it.
void ExamineUpdate(Report& report);
/// The place where browsers look for the module, and the module there.
void ExamineBrowsers(Report& report, const Prober& prober);
/// The module at this path.
void ExamineModule(Report& report, const Prober& prober, const char* name, const std::string& path,
                   const std::string& remedy);

/// The links of the bridge in each browser that has one of them. `root` is put before the machine's own folders, but
/// not before the user's.
void ExamineBridge(Report& report, const Prober& prober, const std::string& root);

/// The kind of module that a browser of this program's kind loads, as `ModuleFacts` has it.
const char* OwnKind();

}  // namespace NorvoWebAPI::KSV::Doctor
