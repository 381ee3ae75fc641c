#include "base/registry_key.h"
#include "installer/doctor/checks.h"
#include "installer/doctor/file_facts.h"

namespace NorvoWebAPI::KSV::Doctor {
namespace {

constexpr char kKey[] = "settings key";
constexpr char kFolderText[] = "library folder in the settings";
constexpr char kFolder[] = "library folder";

std::string ShowKey() {
  return "HKEY_LOCAL_MACHINE\\" + Narrow(kSettingsKey);
}

RegistryKey OpenKey() {
  RegistryKey key;
  RegOpenKeyExW(HKEY_LOCAL_MACHINE, kSettingsKey, 0, KEY_READ, key.Put());
  return key;
}

// Why the plug-in can't read the folder's value.
std::string WhyNoFolder(const RegistryKey& key) {
  DWORD type = REG_NONE;
  DWORD size = 0;
  if (RegQueryValueExW(key.Get(), kLibraryFolderValue, nullptr, &type, nullptr, &size) != ERROR_SUCCESS) {
    return " is not there";
  }
  if (type != REG_SZ && type != REG_EXPAND_SZ) return " is no text";
  return " is longer than " + std::to_string(LibraryPath::kMaxFolder) + " characters";
}

void ExamineLogLevel(Report& report) {
  const int32_t level = GetLogLevel();
  report.Pass("log level", level > 0 ? Narrow(kLogLevelValue) + " is " + std::to_string(level) + ": the log is on"
                                     : "the log is off; " + Narrow(kLogLevelValue) + " above 0 turns it on");
}

}  // namespace

std::optional<LibraryPath> ExamineSettings(Report& report) {
  const std::string value = Narrow(kLibraryFolderValue);
  const std::string setIt =
      "Set " + value + " (REG_SZ) of " + ShowKey() + " to the folder of the vendor's libraries, closed by a backslash.";
  const RegistryKey key = OpenKey();
  if (!key) {
    report.Fail(
        kKey, ShowKey() + " can't be opened by " + OwnKind() + " programs",
        (sizeof(void*) == 4 ? "On a 64-bit Windows this key is the one under Software\\WOW6432Node. " : "") + setIt);
    return {};
  }
  report.Pass(kKey, ShowKey() + " can be read");
  ExamineLogLevel(report);
  LibraryPath raw;
  if (!raw.ReadFolder()) {
    report.Fail(kFolderText, value + WhyNoFolder(key), setIt);
    return {};
  }
  const std::string text = Narrow(raw.c_str());
  if (text.ends_with('\\') || text.ends_with('/')) {
    report.Pass(kFolderText, value + " is " + text);
  } else {
    report.Warn(kFolderText, value + " is " + text + ", with no separator at its end:",
                "zubInstall without data won't find the applet's file beside the library.");
  }

  LibraryPath folder;
  folder.ReadLoadFolder();
  const std::string path = Narrow(folder.c_str());
  if (FolderExists(path)) {
    report.Pass(kFolder, path + " is there");
    return folder;
  }
  report.Fail(kFolder, path + " is not there",
              (text.find('%') == std::string::npos ? "" : "Variables in the value are not replaced. ") + setIt);
  return {};
}

}  // namespace NorvoWebAPI::KSV::Doctor
