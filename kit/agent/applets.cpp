#include "kit/agent/applets.h"

#include <algorithm>
#include <fstream>
#include <map>

#include "kit/agent/text.h"
#include "kit/shared/hex.h"
#include "kit/shared/system.h"

namespace KsvAgent {
namespace {

namespace fs = std::filesystem;

constexpr Status kBad = Status::kBadAppletPackage;
constexpr size_t kMaxPackage = 4096;
constexpr size_t kMaxValue = 128;
constexpr size_t kMaxId = 32;
constexpr size_t kMaxInstalled = 64;
constexpr std::string_view kFirstLine = "KSV-APPLET 1\n";
constexpr std::string_view kDigestKey = "sha256: ";

bool IsDigit(char character) {
  return character >= '0' && character <= '9';
}

bool IsId(std::string_view id) {
  return !id.empty() && id.size() <= kMaxId && std::all_of(id.begin(), id.end(), [](char character) {
    const char lower = static_cast<char>(character | 0x20);
    return (lower >= 'a' && lower <= 'z') || IsDigit(character) || character == '.' || character == '_' ||
           character == '-';
  });
}

/// Numbers of one to five digits with single dots between them.
bool IsVersion(std::string_view version) {
  size_t digits = 0;
  for (const char character : version) {
    digits = IsDigit(character) ? digits + 1 : 0;
    if (digits > 5 || (digits == 0 && character != '.')) return false;
  }
  return !version.empty() && IsDigit(version.front()) && IsDigit(version.back()) &&
         version.find("..") == std::string_view::npos;
}

std::string_view TakeLine(std::string_view& rest) {
  const size_t end = rest.find('\n');
  Require(end != std::string_view::npos, kBad);
  const std::string_view line = rest.substr(0, end);
  rest.remove_prefix(end + 1);
  return line;
}

void ReadKinds(std::string_view kinds, Applet& applet) {
  for (std::string_view rest = kinds; !rest.empty();) {
    const std::string_view kind = rest.substr(0, rest.find(' '));
    rest.remove_prefix(std::min(rest.size(), kind.size() + 1));
    bool& allowed = kind == NameOf(OtpKind::kTime) ? applet.allowsTime : applet.allowsCounter;
    Require((kind == NameOf(OtpKind::kTime) || kind == NameOf(OtpKind::kCounter)) && !allowed, kBad);
    allowed = true;
  }
  Require(applet.allowsTime || applet.allowsCounter, kBad);
}

Bytes ReadPackageFile(const fs::path& path) {
  std::error_code error;
  // Checked first, because opening a pipe or a device may block.
  Require(fs::is_regular_file(path, error), Status::kAppletFileUnreadable);
  std::ifstream in(path, std::ios::binary);
  Bytes content(kMaxPackage + 1);
  in.read(reinterpret_cast<char*>(content.data()), static_cast<std::streamsize>(content.size()));
  Require(in.gcount() > 0 || in.eof(), Status::kAppletFileUnreadable);
  content.resize(static_cast<size_t>(in.gcount()));
  return content;
}

}  // namespace

Applet ParseAppletPackage(ByteView package) {
  Require(package.size() <= kMaxPackage, kBad);
  std::string_view rest = AsText(package);
  const std::string_view whole = rest;
  Require(rest.starts_with(kFirstLine), kBad);
  rest.remove_prefix(kFirstLine.size());

  std::map<std::string_view, std::string_view> fields;
  while (!rest.starts_with(kDigestKey)) {
    const std::string_view line = TakeLine(rest);
    const size_t colon = line.find(": ");
    Require(colon != std::string_view::npos, kBad);
    const std::string_view value = line.substr(colon + 2);
    Require(!value.empty() && value.size() <= kMaxValue && IsPlainText(value), kBad);
    Require(fields.emplace(line.substr(0, colon), value).second, kBad);
  }
  const std::string_view covered = whole.substr(0, whole.size() - rest.size());
  const std::string digest = Hex(AsText(Crypto::Sha256(AsBytes(covered))));
  Require(TakeLine(rest).substr(kDigestKey.size()) == digest && rest.empty(), kBad);

  Require(fields.size() == 4 && fields.contains("id") && fields.contains("title") && fields.contains("version") &&
              fields.contains("kinds"),
          kBad);
  Applet applet;
  applet.id = fields["id"];
  applet.title = fields["title"];
  applet.version = fields["version"];
  Require(IsId(applet.id) && IsVersion(applet.version), kBad);
  ReadKinds(fields["kinds"], applet);
  return applet;
}

fs::path AppletStore::FileOf(std::string_view id) const {
  // A name in hexadecimal digits has no separators and is no reserved name.
  return folder_ / (Hex(id) + ".applet");
}

std::optional<Applet> AppletStore::FindInstalled(std::string_view id) const {
  if (!IsId(id)) return std::nullopt;
  try {
    const std::optional<SecretBytes> package = System::ReadPrivateFile(FileOf(id), kMaxPackage);
    if (!package) return std::nullopt;
    Applet applet = ParseAppletPackage(*package);
    if (applet.id == id) return applet;
  } catch (const AnyFailure&) {
  }
  return std::nullopt;
}

std::optional<Applet> AppletStore::Find(std::string_view id) const {
  std::optional<Applet> applet = FindInstalled(id);
  if (!applet && id == kBuiltInApplet) applet = Applet{std::string(id), "OATH one-time passwords", "1", true, true};
  return applet;
}

std::vector<std::string> AppletStore::ListInstalled() const {
  std::vector<std::string> ids;
  std::error_code error;
  for (fs::directory_iterator entry(folder_, error), end; !error && entry != end; entry.increment(error)) {
    if (entry->path().extension() != ".applet") continue;
    // The applet's name from the file's name; FindInstalled compares it with the content.
    const std::string digits = entry->path().stem().string();
    std::string id;
    for (size_t position = 0; position + 1 < digits.size(); position += 2) {
      id += static_cast<char>(std::strtoul(digits.substr(position, 2).c_str(), nullptr, 16));
    }
    if (FileOf(id).filename() == entry->path().filename() && FindInstalled(id)) ids.push_back(id);
  }
  return ids;
}

std::vector<std::string> AppletStore::List() const {
  std::vector<std::string> ids = ListInstalled();
  ids.emplace_back(kBuiltInApplet);
  std::sort(ids.begin(), ids.end());
  ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
  return ids;
}

void AppletStore::Install(std::string_view id, const fs::path& package) const {
  const Bytes content = ReadPackageFile(package);
  Require(ParseAppletPackage(content).id == id, kBad);
  Require(FindInstalled(id) || ListInstalled().size() < kMaxInstalled, Status::kTooManyApplets);
  System::CreatePrivateFolder(folder_.parent_path());
  System::CreatePrivateFolder(folder_);
  System::WritePrivateFile(FileOf(id), content, System::IfPresent::kReplace);
}

void AppletStore::Uninstall(std::string_view id) const {
  Require(IsId(id), Status::kAppletNotInstalled);
  std::error_code error;
  const bool removed = fs::remove(FileOf(id), error);
  Require(!error, Status::kStoreFailure);
  Require(removed, Status::kAppletNotInstalled);
}

}  // namespace KsvAgent
