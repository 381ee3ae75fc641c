#include <stdexcept>

#include "base/product.h"
#include "base/result_codes.h"
#include "installer/doctor/checks.h"
#include "installer/doctor/file_facts.h"
#include "installer/doctor/system.h"
#include "storage/platform_files.h"
#include "storage/update_gate.h"

namespace NorvoWebAPI::KSV::Doctor {
namespace {

constexpr char kBase[] = "base folder";
constexpr char kTime[] = "update time";
// How much is shown of a time file that holds no time.
constexpr size_t kLongestShown = 40;

std::string Consequence() {
  return ": calls of the agent answer " + std::to_string(kUpdateOverdue);
}

std::string Hours(int64_t seconds) {
  return std::to_string(seconds / 3600) + " h " + std::to_string(seconds / 60 % 60) + " min";
}

// The file's first bytes, as they are; the report makes them printable.
std::string Excerpt(const std::string& path) {
  std::ifstream file = Platform::OpenForReading(path, std::ios::binary);
  std::string bytes(kLongestShown + 1, '\0');
  bytes.resize(static_cast<size_t>(file.read(bytes.data(), static_cast<std::streamsize>(bytes.size())).gcount()));
  return bytes.size() > kLongestShown ? bytes.substr(0, kLongestShown) + "…" : bytes;
}

std::string TellNoTime(const std::string& path) {
  const std::string excerpt = Excerpt(path);
  return ShowPath(path) + (excerpt.empty() ? " is empty" : " holds \"" + excerpt + "\", which is no time");
}

}  // namespace

void ExamineUpdate(Report& report) {
  std::string base;
  try {
    base = Platform::GetBasePath();
  } catch (const std::runtime_error& error) {
    report.Fail(kBase, error.what() + Consequence(), HowToSetAppData());
    return;
  }
  if (!FolderExists(base)) {
    report.Fail(kBase, ShowPath(base) + " is not there" + Consequence(),
                "Check that AppData names this user's profile. " + HowToUpdate());
    return;
  }
  report.Pass(kBase, ShowPath(base) + " is there");

  const std::string path = Platform::GetLastUpdatePath(kPlatformTag);
  int64_t last = 0;
  try {
    last = Platform::ReadLastUpdate(kPlatformTag);
  } catch (const std::runtime_error&) {
    const bool isThere = FindFile(path) == Presence::Denied;
    report.Fail(kTime, ShowPath(path) + (isThere ? " can't be read by this user" : " is not there") + Consequence(),
                HowToUpdate());
    return;
  }
  const int64_t now = _time64(nullptr);
  const std::string limit = ", the limit is " + Hours(Platform::kMaxUpdateAge);
  if (last <= 0) {
    report.Fail(kTime, TellNoTime(path) + Consequence(), HowToUpdate());
  } else if (last > now) {
    report.Warn(kTime, ShowPath(path) + " tells a time to come, " + Hours(last - now) + " from now.",
                "Check this machine's clock and the updater's.");
  } else if (const std::string age = "the updater's last run is " + Hours(now - last) + " old" + limit;
             Platform::IsUpdateOverdue(kPlatformTag)) {
    report.Fail(kTime, age + Consequence(), HowToUpdate());
  } else {
    report.Pass(kTime, age);
  }
}

}  // namespace NorvoWebAPI::KSV::Doctor
