#include "platform/system_path.h"

#include <algorithm>

std::string SystemPath(const std::string& path) {
  std::string systemPath = path;
  std::replace(systemPath.begin(), systemPath.end(), '\\', '/');
  return systemPath;
}
