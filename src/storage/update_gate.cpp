#include "storage/update_gate.h"

#include <fstream>
#include <stdexcept>

#include "base/decimal.h"
#include "platform/win32.h"
#include "storage/platform_files.h"

namespace NorvoWebAPI::Platform {

int64_t ReadLastUpdate(const std::string& suffix) {
  std::ifstream file = OpenForReading(GetLastUpdatePath(suffix));
  if (!file.is_open()) throw std::runtime_error("Failed to read lastUpdate time file");
  std::string text;
  file >> text;
  return ReadDecimal<int64_t>(text).value_or(0);
}

bool IsUpdateOverdue(const std::string& suffix) {
  try {
    // Not by the difference of the two: it may be out of range.
    return ReadLastUpdate(suffix) <= _time64(nullptr) - kMaxUpdateAge;
  } catch (...) {
    return true;
  }
}

}  // namespace NorvoWebAPI::Platform
