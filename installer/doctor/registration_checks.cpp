#include "base/product.h"
#include "base/registry_key.h"
#include "base/text.h"
#include "installer/doctor/checks.h"
#include "installer/doctor/file_facts.h"
#include "library/library_loader.h"
#include "registration/plugin_keys.h"

namespace NorvoWebAPI::KSV::Doctor {
namespace {

constexpr char kTree[] = "registration";
constexpr char kModule[] = "registered module";
constexpr char kRemedy[] = "Repair the installation: the installer registers the module.";

// Gives the system's error, or `ERROR_INVALID_DATA` for a value that is no text.
LSTATUS ReadText(const std::string& keyName, const char* value, std::string& text) {
  RegistryKey key;
  if (const LSTATUS error = RegOpenKeyExA(HKEY_LOCAL_MACHINE, keyName.c_str(), 0, KEY_READ, key.Put())) return error;
  DWORD type = REG_NONE;
  DWORD size = 0;
  if (const LSTATUS error = RegQueryValueExA(key.Get(), value, nullptr, &type, nullptr, &size)) return error;
  if (type != REG_SZ) return ERROR_INVALID_DATA;
  std::string read(size, '\0');
  const LSTATUS error = RegQueryValueExA(key.Get(), value, nullptr, &type, reinterpret_cast<BYTE*>(read.data()), &size);
  text = read.c_str();  // The text may be stored with its terminator or without.
  return error;
}

LSTATUS OpenError(const std::string& keyName) {
  RegistryKey key;
  return RegOpenKeyExA(HKEY_LOCAL_MACHINE, keyName.c_str(), 0, KEY_READ, key.Put());
}

// The first thing in the registry that is otherwise than the plug-in writes it; empty when all is as it should be.
std::string FindDifference(const std::vector<Registration::KeyEntry>& keys) {
  std::string name;
  for (const Registration::KeyEntry& entry : keys) {
    name += (name.empty() ? "" : "\\") + entry.name;
    const std::string shown = "HKEY_LOCAL_MACHINE\\" + name;
    if (const LSTATUS error = OpenError(name)) return shown + " can't be opened (error " + std::to_string(error) + ")";
    for (const auto& [value, expected] : entry.values) {
      std::string found;
      if (ReadText(name, value, found) != ERROR_SUCCESS)
        return "there is no text " + std::string(value) + " in " + shown;
      if (found != expected) {
        return std::string(value).append(" of ").append(shown).append(" is ").append(found).append(", not ").append(
            expected);
      }
    }
  }
  return {};
}

// Relative paths are resolved against the browser's working folder, which isn't this program's.
bool IsAbsolute(const std::string& path) {
  const size_t separator = path.find_first_of("\\/");
  return separator == 0 || (separator == 2 && path[1] == ':');
}

// A browser has to find the file, load it, and find the entry point by which the module starts.
void ExamineModule(Report& report, const std::string& path) {
  if (!IsAbsolute(path)) {
    report.Fail(kModule, "the registered path " + path + " is relative", kRemedy);
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
    // It stays loaded until the process ends, as in a browser.
    module.Release();
  }
}

}  // namespace

void ExamineRegistration(Report& report) {
  const std::string key = Registration::BuildPluginKeyName(kShortName, kVersion);
  // Whatever path is registered is right here; the module there is examined next.
  std::string path;
  const LSTATUS error = ReadText(key, "Path", path);
  const std::string difference = FindDifference(Registration::PluginKeys(kShortName, kDescription, kVersion, path));
  if (difference.empty()) {
    report.Pass(kTree, "browsers are told of the module");
  } else if (!KSV_REGISTRATION_NEEDED && OpenError(key) == ERROR_FILE_NOT_FOUND) {
    report.Warn(kTree, "the module is not registered.", "Browsers find it in their own plug-in folders alone.");
  } else {
    report.Fail(kTree, difference, kRemedy);
  }
  if (error == ERROR_SUCCESS) ExamineModule(report, path);
}

}  // namespace NorvoWebAPI::KSV::Doctor
