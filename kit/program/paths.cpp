#include "kit/program/paths.h"

namespace Kit {

std::filesystem::path PathOf(const std::string& utf8) {
  return {std::u8string(utf8.begin(), utf8.end())};
}

std::string TextOf(const std::filesystem::path& path) {
  const std::u8string text = path.generic_u8string();
  return {text.begin(), text.end()};
}

}  // namespace Kit
