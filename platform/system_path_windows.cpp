#include "platform/system_path.h"

std::string SystemPath(const std::string& path) {
  return path;
}
