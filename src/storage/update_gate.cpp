#include "storage/update_gate.h"

#include <fstream>
#include <locale>
#include <stdexcept>

#include "platform/win32.h"
#include "storage/platform_files.h"

namespace NorvoWebAPI::Platform {

int64_t ReadLastUpdate(const std::string& suffix) {
  std::ifstream file = OpenForReading(GetLastUpdatePath(suffix));
  if (!file.is_open()) throw std::runtime_error("Failed to read lastUpdate time file");
  // The host may have set a locale whose numbers are grouped.
  file.imbue(std::locale::classic());
  int64_t seconds = 0;
  // A number out of range would read as the largest one, which is no time of an update.
  return file >> seconds ? seconds : 0;
}

bool IsUpdateOverdue(const std::string& suffix) {
  try {
    return ReadLastUpdate(suffix) <= _time64(nullptr) - kMaxUpdateAge;
  } catch (...) {
    return true;
  }
}

}  // namespace NorvoWebAPI::Platform
