#include "installer/doctor/system.h"
#include "installer/doctor/texts.h"
#include "storage/settings.h"

namespace NorvoWebAPI::KSV::Doctor {

std::string ShowPath(const std::string& path) {
  return path;
}

std::string ShowSettingsPlace() {
  return "HKEY_LOCAL_MACHINE\\" + Narrow(kSettingsKey);
}

std::string HowToSetFolder() {
  return std::string("(REG_SZ) of ") + ShowSettingsPlace() +
         " to the folder of the vendor's libraries, closed by a backslash." +
         (sizeof(void*) == 4 ? " On a 64-bit Windows that key is the one under Software\\WOW6432Node." : "");
}

std::string HowToSetAppData() {
  return "Run the browser, and this program, with AppData as Windows sets it for this user.";
}

std::string HowToUpdate() {
  return "Let the updater run as this user; it makes the folder and writes this file.";
}

bool ExamineSettingsStore(Report& /*report*/) {
  return true;
}

void ExamineLog(Report& report) {
  const std::string name = Narrow(kLogLevelValue);
  const int32_t level = GetLogLevel();
  report.Pass("log", (level > 0 ? name + " is " + std::to_string(level) + ": the log is on"
                                : "the log is off; " + name + " (REG_DWORD) above 0 turns it on") +
                         "; its lines go to the system's debug output, which a viewer of that or a debugger shows");
}

}  // namespace NorvoWebAPI::KSV::Doctor
