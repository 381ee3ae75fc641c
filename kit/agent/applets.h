#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "kit/agent/otp.h"

namespace KsvAgent {

/// The OATH applet, which is part of the agent and needs no package.
constexpr std::string_view kBuiltInApplet = "8D67D9DD2AF54717AFF2FF7EF19DFADB";

/// What a package says of an applet.
struct Applet {
  /// 1 to 32 of A-Z, a-z, 0-9, '.', '_' and '-': no longer than what an event can carry.
  std::string id;
  std::string title;
  std::string version;
  bool allowsTime = false;
  bool allowsCounter = false;

  bool Allows(OtpKind kind) const { return kind == OtpKind::kTime ? allowsTime : allowsCounter; }
};

/// Reads a package in the form that README.md lays down. Throws kBadAppletPackage.
Applet ParseAppletPackage(ByteView package);

/// The installed applets: one file each in the agent's folder, read afresh for every question, so that processes of one
/// user agree.
class AppletStore {
 public:
  explicit AppletStore(const std::filesystem::path& home) : folder_(home / "applets") {}

  /// The applet of this name: the installed package, else what is built in, else nothing. A stored package that has
  /// been damaged counts as absent.
  std::optional<Applet> Find(std::string_view id) const;

  /// The names of the built-in applet and of all installed ones, in order.
  std::vector<std::string> List() const;

  /// Checks the package in the file and stores it in place of an earlier one of that name. Throws
  /// kAppletFileUnreadable, kBadAppletPackage, kTooManyApplets or kStoreFailure.
  void Install(std::string_view id, const std::filesystem::path& package) const;

  /// Takes the package away; the built-in applet stays usable without one. Throws kAppletNotInstalled.
  void Uninstall(std::string_view id) const;

 private:
  std::filesystem::path FileOf(std::string_view id) const;
  std::optional<Applet> FindInstalled(std::string_view id) const;
  std::vector<std::string> ListInstalled() const;

  std::filesystem::path folder_;
};

}  // namespace KsvAgent
