// Installing and uninstalling applets. The library installs from a file: an applet that a page sends is written to a
// temporary one.
#include <cstring>
#include <fstream>

#include "agent/agent_operation.h"
#include "agent/cksv_plugin_zub.h"
#include "base/text.h"
#include "platform/system_path.h"
#include "storage/platform_files.h"
#include "storage/settings.h"

namespace NorvoWebAPI::KSV {
namespace {

constexpr char kOathAppletId[] = "8D67D9DD2AF54717AFF2FF7EF19DFADB";
constexpr size_t kMaxAppletIdBytes = 512;
constexpr int32_t kMaxAppletCharacters = 1'000'000;

// The applet as a file, for the duration of one call. The name is fixed: one install at a time per user.
class TemporaryApplet {
 public:
  TemporaryApplet(bool isOtpLibrary, const ByteBuffer& applet)
      : folder(Platform::GetBasePath() + "KSV_applets"), path(folder + (isOtpLibrary ? "\\temp.pack" : "\\temp.trok")) {
    try {
      Write(applet);
    } catch (...) {
      Remove();
      throw;
    }
  }
  TemporaryApplet(const TemporaryApplet&) = delete;
  TemporaryApplet& operator=(const TemporaryApplet&) = delete;
  ~TemporaryApplet() { Remove(); }

  [[nodiscard]] const std::string& Path() const { return path; }

 private:
  void Write(const ByteBuffer& applet) const {
    Platform::CreateDirectories(folder);
    std::ofstream file(SystemPath(path), std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char*>(applet.bytes.get()), static_cast<std::streamsize>(applet.size)).flush();
    if (!file) throw CPluginException{kAppletFileFailed};
  }

  void Remove() const noexcept {
    try {
      Platform::DeleteFile(path);
    } catch (...) {
      // The library has answered, and the next install overwrites a file that stays.
    }
  }

  std::string folder;
  std::string path;
};

}  // namespace

Outcome CKSVPluginZUB::Install(const char* appletId, const char* b64Text, int32_t textLength) {
  const auto check = [&](Outcome& outcome) {
    if (!appletId || std::strlen(appletId) > kMaxAppletIdBytes || textLength > kMaxAppletCharacters) {
      outcome.pluginCode = kBadArguments;
      return false;
    }
    return CheckAnyEntry(entries.Install || entries.InstallOTPS, outcome);
  };
  const auto work = [&](Outcome& outcome) {
    const auto& install = entries.Install ? entries.Install : entries.InstallOTPS;
    if (textLength <= 0 || !b64Text) {
      if (std::strcmp(appletId, kOathAppletId) != 0) throw CPluginException{kBadArguments};
      LibraryPath builtIn;
      if (!builtIn.ReadFolder()) throw CPluginException{kFailed};
      builtIn.Append(isOtpLibrary ? KSV_WIDE("oath.pack") : KSV_WIDE("oath.trok"));
      outcome.status = install(appletId, builtIn.c_str());
      return;
    }
    const TemporaryApplet applet(isOtpLibrary, DecodeBase64(b64Text, textLength));
    const Bstr path = BstrOfExactLength(applet.Path());
    outcome.status = install(appletId, path.Get());
  };
  return RunChecked("Install", kAgentNotCalled, CodedExceptions::All, check, work);
}

Outcome CKSVPluginZUB::Uninstall(const char* appletId) {
  const auto check = [&](Outcome& outcome) {
    return CheckAnyEntry(entries.Uninstall || entries.UninstallOTPS, outcome);
  };
  return RunChecked("Uninstall", kAgentNotCalled, CodedExceptions::None, check, [&](Outcome& outcome) {
    const auto& uninstall = entries.Uninstall ? entries.Uninstall : entries.UninstallOTPS;
    outcome.status = uninstall(appletId);
  });
}

}  // namespace NorvoWebAPI::KSV
