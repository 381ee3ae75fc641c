#include "base/text.h"
#include "installer/doctor/checks.h"
#include "installer/doctor/file_facts.h"
#include "library/library_loader.h"
#include "registration/registration.h"

namespace NorvoWebAPI::KSV::Doctor {
namespace {

constexpr char kTree[] = "registration";
constexpr char kModule[] = "registered module";
constexpr char kRemedy[] = "Repair the installation: the installer registers the module.";

std::string Tell(const Registration::Difference& difference) {
  const std::string key = "HKEY_LOCAL_MACHINE\\" + difference.key;
  if (difference.value.empty()) return key + " can't be opened (error " + std::to_string(difference.error) + ")";
  if (difference.error != ERROR_SUCCESS) return "there is no text " + difference.value + " in " + key;
  return difference.value + " of " + key + " is " + difference.found + ", not " + difference.expected;
}

// From a drive or a root on: a browser's working folder is another than this program's.
bool IsWhole(const std::string& path) {
  const size_t separator = path.find_first_of("\\/");
  return separator == 0 || (separator == 2 && path[1] == ':');
}

// The module as a browser sees it: a file that it can load, with the entry by which it starts.
void ExamineModule(Report& report, const std::string& path) {
  if (!IsWhole(path)) {
    report.Fail(kModule, "the registered path " + path + " is not a whole one", kRemedy);
    return;
  }
  if (!FileExists(path)) {
    report.Fail(kModule, "there is no file " + path, kRemedy);
    return;
  }
  const Bstr wide = BstrFromNarrow(path.c_str());
  Library module(ModuleKind(path) == OwnKind() ? LoadLibraryW(wide.Get()) : nullptr);
  if (!module) {
    report.Fail(kModule, path + " " + WhyNotLoaded(path), kRemedy);
  } else if (!GetProcAddress(module.Get(), "NP_Initialize")) {
    report.Fail(kModule, path + " is a library, but no browser plug-in", kRemedy);
  } else {
    report.Pass(kModule, path + " loads");
    // It stays loaded, as in a browser: what it keeps until the process ends would be lost with an unloading.
    module.Release();
  }
}

}  // namespace

void ExamineRegistration(Report& report) {
  const auto differences = Registration::CheckRegistration();
  std::string path;
  const LSTATUS error = Registration::ReadRegisteredPath(path);
  if (differences.empty()) {
    report.Pass(kTree, "browsers are told of the module");
  } else if (error == ERROR_FILE_NOT_FOUND && differences.front().value.empty() && !KSV_REGISTRATION_NEEDED) {
    report.Warn(kTree, "the module is not registered.", "Browsers find it in their own plug-in folders alone.");
  } else {
    report.Fail(kTree, Tell(differences.front()), kRemedy);
  }
  if (error == ERROR_SUCCESS) ExamineModule(report, path);
}

}  // namespace NorvoWebAPI::KSV::Doctor
