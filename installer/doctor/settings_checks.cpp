#include "base/registry_key.h"
#include "installer/doctor/checks.h"
#include "installer/doctor/file_facts.h"
#include "installer/doctor/system.h"
#include "installer/doctor/texts.h"

namespace NorvoWebAPI::KSV::Doctor {
namespace {

constexpr char kKey[] = "settings key";
constexpr char kFolderText[] = "library folder in the settings";
constexpr char kFolder[] = "library folder";

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

}  // namespace

std::optional<LibraryPath> ExamineSettings(Report& report) {
  if (!ExamineSettingsStore(report)) return {};
  const std::string value = Narrow(kLibraryFolderValue);
  const std::string setIt = "Set " + value + " " + HowToSetFolder();
  const RegistryKey key = OpenKey();
  if (!key) {
    report.Fail(kKey, ShowSettingsPlace() + " can't be opened by " + OwnKind() + " programs", setIt);
    return {};
  }
  report.Pass(kKey, ShowSettingsPlace() + " can be read");
  ExamineLog(report);
  LibraryPath raw;
  if (!raw.ReadFolder()) {
    report.Fail(kFolderText, value + WhyNoFolder(key), setIt);
    return {};
  }
  const std::string text = Narrow(raw.c_str());
  if (text.ends_with('\\') || text.ends_with('/')) {
    report.Pass(kFolderText, value + " is " + ShowPath(text));
  } else {
    report.Warn(kFolderText, value + " is " + ShowPath(text) + ", with no separator at its end:",
                "zubInstall without data won't find the applet's file beside the library.");
  }

  LibraryPath folder;
  folder.ReadLoadFolder();
  const std::string path = Narrow(folder.c_str());
  if (FolderExists(path)) {
    report.Pass(kFolder, ShowPath(path) + " is there");
    return folder;
  }
  report.Fail(
      kFolder, ShowPath(path) + " is not there, or not for this user",
      (text.find_first_of("%$~") == std::string::npos ? "" : "Variables in the value are not replaced. ") + setIt);
  return {};
}

}  // namespace NorvoWebAPI::KSV::Doctor
