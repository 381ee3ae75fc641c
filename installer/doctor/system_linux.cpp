#include <unistd.h>

#include <cstdlib>
#include <filesystem>

#include "installer/doctor/system.h"
#include "installer/doctor/texts.h"
#include "platform/registry_store.h"
#include "platform/system_path.h"
#include "storage/settings.h"

namespace fs = std::filesystem;
using platform::RegistryStore;

namespace NorvoWebAPI::KSV::Doctor {
namespace {

// With the folder of the Debian package's libraries; `cmake --install` puts them into another one.
constexpr char kExample[] =
    R"({"HKEY_LOCAL_MACHINE": {"Software": {"Norvo": {"Services": {"KSV": {"FILELOCALE": "/usr/lib/ksv/"}}}}}})";

std::string WhoNamesIt() {
  const char* variable = std::getenv("KSV_REGISTRY");
  return variable && *variable ? " (KSV_REGISTRY names it)" : " (KSV_REGISTRY is not set and could name another)";
}

bool CanWriteTo(const std::string& file) {
  if (access(file.c_str(), F_OK) == 0) return access(file.c_str(), W_OK) == 0;
  const fs::path folder = fs::path(file).parent_path();
  return access(folder.empty() ? "." : folder.c_str(), W_OK) == 0;
}

}  // namespace

std::string ShowPath(const std::string& path) {
  return fs::path(SystemPath(path)).lexically_normal().string();
}

std::string ShowSettingsPlace() {
  return "HKEY_LOCAL_MACHINE.Software.Norvo.Services.KSV in " + RegistryStore::Path();
}

std::string HowToSetFolder() {
  return "in " + RegistryStore::Path() + " to the folder of the libraries, closed by a slash: " + kExample;
}

std::string HowToSetAppData() {
  return "Nothing on Linux sets AppData: start the browser, and this program, after "
         R"(export AppData="$HOME\\AppData\\Roaming".)";
}

std::string HowToUpdate() {
  return "There is no updater for Linux: write the file with mkdir -p and date +%s, as docs/install.md shows.";
}

bool ExamineSettingsStore(Report& report) {
  constexpr char kName[] = "settings file";
  const std::string path = RegistryStore::Path();
  if (path.empty()) {
    report.Fail(kName, "nothing names it: KSV_REGISTRY, XDG_CONFIG_HOME and HOME are not set",
                "Set KSV_REGISTRY to the path of the JSON file with the settings.");
    return false;
  }
  const std::string problem = RegistryStore().Problem();
  std::error_code ignored;
  if (!problem.empty()) {
    report.Fail(kName, path + ": " + problem + "; the plug-in reads none of it",
                "Correct it, and see that this user may read it. It has to be like this: " + std::string(kExample));
  } else if (!fs::exists(path, ignored)) {
    report.Fail(kName, path + " is not there" + WhoNamesIt(),
                "Write it, or set KSV_REGISTRY to the file that has the settings: " + std::string(kExample));
  } else {
    report.Pass(kName, path + " is in order" + WhoNamesIt());
    return true;
  }
  return false;
}

void ExamineLog(Report& report) {
  constexpr char kName[] = "log";
  const std::string level = Narrow(kLogLevelValue);
  const std::string place = RegistryStore::DebugOutput();
  const bool isOn = GetLogLevel() > 0;
  const std::string state = isOn ? level + " is " + std::to_string(GetLogLevel()) + ": the log is on"
                                 : "the log is off; " + level + " above 0 turns it on";
  const std::string nameIt =
      "\"DebugOutput\": \"/a/file.log\" beside \"HKEY_LOCAL_MACHINE\" in the settings file, or "
      "the variable KSV_DEBUG_OUTPUT, names a file.";
  if (place.empty() && isOn) {
    report.Warn(kName, state + ", but its lines go nowhere.", nameIt);
  } else if (place.empty()) {
    report.Pass(kName, state + "; " + nameIt);
  } else if (place == "stderr") {
    report.Pass(kName, state + "; its lines go to the browser's standard error");
  } else if (!CanWriteTo(place)) {
    report.Warn(kName, state + ", but this user can't write to " + place + ".", nameIt);
  } else {
    report.Pass(kName, state + "; its lines go to " + place);
  }
}

}  // namespace NorvoWebAPI::KSV::Doctor
