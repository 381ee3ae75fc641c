#pragma once

#include <algorithm>
#include <filesystem>
#include <string>

namespace support {

/// A path in the form in which the platform's calls, the environment and the settings hold one.
template <typename Char = char>
std::basic_string<Char> PlatformPath(const std::filesystem::path& path) {
  auto text = path.string<Char>();
  std::ranges::replace(text, Char{'/'}, Char{'\\'});
  return text;
}

}  // namespace support
