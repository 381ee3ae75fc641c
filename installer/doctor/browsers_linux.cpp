#include <cstdlib>
#include <filesystem>
#include <sstream>

#include "base/product.h"
#include "installer/doctor/checks.h"
#include "installer/doctor/file_facts.h"

namespace NorvoWebAPI::KSV::Doctor {
namespace {

constexpr char kFolders[] = "browsers' plug-in folders";
constexpr char kModule[] = "module";
constexpr char kVariable[] = "MOZ_PLUGIN_PATH";

// In the order in which browsers search them. Not all browsers know each of the last ones.
std::vector<std::string> PluginFolders() {
  std::vector<std::string> folders;
  const char* variable = std::getenv(kVariable);
  std::istringstream named(variable ? variable : "");
  for (std::string folder; std::getline(named, folder, ':');) {
    if (!folder.empty()) folders.push_back(folder);
  }
  if (const char* home = std::getenv("HOME")) folders.push_back(std::string(home) + "/.mozilla/plugins");
  for (const char* prefix : {"/usr/local/lib", "/usr/lib64", "/usr/lib"}) {
    folders.push_back(std::string(prefix) + "/mozilla/plugins");
  }
  return folders;
}

}  // namespace

void ExamineBrowsers(Report& report, const Prober& prober) {
  const std::string file = KSV_MODULE_NAME ".so";
  const std::string remedy = "Install the module by `cmake --install`, or set " + std::string(kVariable) +
                             " to the folder that has it, for the browser and this program.";
  std::string searched;
  std::vector<std::string> found;
  for (const std::string& folder : PluginFolders()) {
    searched.append(searched.empty() ? "" : ", ").append(folder);
    if (FindFile((std::filesystem::path(folder) / file).string()) != Presence::Missing) found.push_back(folder);
  }
  if (found.empty()) {
    report.Fail(kFolders, "there is no " + file + " in " + searched, remedy);
    return;
  }
  if (found.size() == 1) {
    report.Pass(kFolders, found.front() + " has " + file);
  } else {
    report.Warn(kFolders, found.front() + " has " + file + ", and so has " + found[1] + ":",
                "browsers may load either; remove one.");
  }
  ExamineModule(report, prober, kModule, found.front() + "/" + file, remedy);
}

}  // namespace NorvoWebAPI::KSV::Doctor
