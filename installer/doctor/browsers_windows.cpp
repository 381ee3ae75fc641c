#include "base/product.h"
#include "base/registry_key.h"
#include "installer/doctor/checks.h"
#include "installer/doctor/registry_text.h"
#include "registration/plugin_keys.h"

namespace NorvoWebAPI::KSV::Doctor {
namespace {

constexpr char kTree[] = "registration";
constexpr char kModule[] = "registered module";
constexpr char kRemedy[] = "Repair the installation: the installer registers the module.";

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
      if (ReadText(HKEY_LOCAL_MACHINE, name, value, 0, found) != ERROR_SUCCESS)
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

}  // namespace

void ExamineBrowsers(Report& report, const Prober& prober) {
  const std::string key = Registration::BuildPluginKeyName(kShortName, kVersion);
  // Whatever path is registered is right here; the module there is examined next.
  std::string path;
  const LSTATUS error = ReadText(HKEY_LOCAL_MACHINE, key, "Path", 0, path);
  const std::string difference = FindDifference(Registration::PluginKeys(kShortName, kDescription, kVersion, path));
  if (difference.empty()) {
    report.Pass(kTree, "browsers are told of the module");
  } else {
    report.Fail(kTree, difference, kRemedy);
  }
  if (error != ERROR_SUCCESS) return;
  if (!IsAbsolute(path)) {
    report.Fail(kModule, "the registered path " + path + " is relative", kRemedy);
  } else {
    ExamineModule(report, prober, kModule, path, kRemedy);
  }
}

}  // namespace NorvoWebAPI::KSV::Doctor
