// Applets in and out of the host agent, which installs from a file: what a page sends goes through a temporary one.
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

// The applet as a file for the time of one call. Its name is fixed: one install at a time per user.
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
      // The library has answered; a file that stays behind is written over by the next install.
    }
  }

  std::string folder;
  std::string path;
};

}  // namespace

bool CKSVPluginZUB::Install(const char* appletId, const char* b64Text, int32_t textLength, JSObject& result) {
  const auto check = [&] {
    if (!appletId || std::strlen(appletId) > kMaxAppletIdBytes || textLength > kMaxAppletCharacters) {
      StorePluginCode(result, kBadArguments);
      return false;
    }
    return CheckEither(entries.Install, entries.InstallOTPS, result);
  };
  return RunChecked("Install", kAgentNotCalled, check, TellsApart::BadAllocAndCode, result, [&] {
    const auto& install = entries.Install ? entries.Install : entries.InstallOTPS;
    if (textLength <= 0 || !b64Text) {
      if (std::strcmp(appletId, kOathAppletId) != 0) throw CPluginException{kBadArguments};
      LibraryPath builtIn;
      if (!builtIn.ReadFolder()) throw CPluginException{kFailed};
      builtIn.Append(isOtpLibrary ? KSV_WIDE("oath.pack") : KSV_WIDE("oath.trok"));
      StoreStatus(result, install(appletId, builtIn.c_str()));
      return;
    }
    const TemporaryApplet applet(isOtpLibrary, DecodeBase64(b64Text, textLength));
    const Bstr path = BstrOfExactLength(applet.Path());
    StoreStatus(result, install(appletId, path.Get()));
  });
}

bool CKSVPluginZUB::Uninstall(const char* appletId, JSObject& result) {
  const auto check = [&] { return CheckEither(entries.Uninstall, entries.UninstallOTPS, result); };
  return RunChecked("Uninstall", kAgentNotCalled, check, TellsApart::Nothing, result, [&] {
    const auto& uninstall = entries.Uninstall ? entries.Uninstall : entries.UninstallOTPS;
    StoreStatus(result, uninstall(appletId));
  });
}

}  // namespace NorvoWebAPI::KSV
