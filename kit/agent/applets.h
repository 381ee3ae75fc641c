#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "kit/agent/otp.h"

namespace KsvAgent {

/// The OATH applet, which needs no package.
constexpr std::string_view kBuiltInApplet = "8D67D9DD2AF54717AFF2FF7EF19DFADB";

/// An applet as its package describes it.
struct Applet {
  /// 1 to 32 of A-Z, a-z, 0-9, '.', '_' and '-', which is the limit of a name in an event.
  std::string id;
  std::string title;
  std::string version;
  bool allowsTime = false;
  bool allowsCounter = false;

  bool Allows(OtpKind kind) const { return kind == OtpKind::kTime ? allowsTime : allowsCounter; }
};

/// Parses a package; README.md has the format. Throws kBadAppletPackage.
Applet ParseAppletPackage(ByteView package);

/// The installed applets: one file each in the agent's folder. Every call reads the files again, so that all processes
/// of a user see the same applets.
class AppletStore {
 public:
  explicit AppletStore(const std::filesystem::path& home) : folder_(home / "applets") {}

  /// The installed applet of this name, else the built-in one, else nothing. A damaged package is ignored.
  std::optional<Applet> Find(std::string_view id) const;

  /// The names of the built-in applet and of all installed ones, in order.
  std::vector<std::string> List() const;

  /// Checks the package in the file and stores it; it replaces an earlier one of that name. Throws
  /// kAppletFileUnreadable, kBadAppletPackage, kTooManyApplets or kStoreFailure.
  void Install(std::string_view id, const std::filesystem::path& package) const;

  /// Removes the package; the built-in applet can be used without one. Throws kAppletNotInstalled.
  void Uninstall(std::string_view id) const;

 private:
  std::filesystem::path FileOf(std::string_view id) const;
  std::optional<Applet> FindInstalled(std::string_view id) const;
  std::vector<std::string> ListInstalled() const;

  std::filesystem::path folder_;
};

}  // namespace KsvAgent
