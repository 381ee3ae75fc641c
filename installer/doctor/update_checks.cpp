#include <stdexcept>

#include "base/product.h"
#include "base/result_codes.h"
#include "installer/doctor/checks.h"
#include "installer/doctor/file_facts.h"
#include "storage/platform_files.h"
#include "storage/update_gate.h"

namespace NorvoWebAPI::KSV::Doctor {
namespace {

constexpr char kBase[] = "base folder";
constexpr char kTime[] = "update time";
constexpr char kRemedy[] = "Let the updater run as this user; it writes this file.";

std::string Consequence() {
  return ": calls of the agent answer " + std::to_string(kUpdateOverdue);
}

std::string Hours(int64_t seconds) {
  return std::to_string(seconds / 3600) + " h " + std::to_string(seconds / 60 % 60) + " min";
}

}  // namespace

void ExamineUpdate(Report& report) {
  std::string base;
  try {
    base = Platform::GetBasePath();
  } catch (const std::runtime_error& error) {
    report.Fail(kBase, error.what() + Consequence(),
                "Run the browser, and this program, with AppData as Windows sets it.");
    return;
  }
  if (!FolderExists(base)) {
    report.Fail(kBase, base + " is not there" + Consequence(),
                "Check that AppData names this user's profile. Let the updater run as this user; it makes the folder.");
    return;
  }
  report.Pass(kBase, base + " is there");

  const std::string path = Platform::GetLastUpdatePath(kPlatformTag);
  int64_t last = 0;
  try {
    last = Platform::ReadLastUpdate(kPlatformTag);
  } catch (const std::runtime_error&) {
    report.Fail(kTime, path + " can't be read" + Consequence(), kRemedy);
    return;
  }
  const int64_t now = _time64(nullptr);
  const std::string limit = ", the limit is " + Hours(Platform::kMaxUpdateAge);
  if (last <= 0 || last > now) {
    const std::string found = path + (last > now ? " tells a time to come" : " holds no time");
    if (!Platform::IsUpdateOverdue(kPlatformTag)) {
      report.Warn(kTime, found + ".", "Check this machine's clock and the updater's.");
    } else {
      report.Fail(kTime, found + Consequence(), kRemedy);
    }
  } else if (const std::string age = "the updater's last run is " + Hours(now - last) + " old" + limit;
             Platform::IsUpdateOverdue(kPlatformTag)) {
    report.Fail(kTime, age + Consequence(), kRemedy);
  } else {
    report.Pass(kTime, age);
  }
}

}  // namespace NorvoWebAPI::KSV::Doctor
