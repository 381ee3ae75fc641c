/// Paths as UTF-8.
#pragma once

#include <filesystem>
#include <string>

namespace Kit {

/// A path from its UTF-8 form, and back with forward slashes.
std::filesystem::path PathOf(const std::string& utf8);
std::string TextOf(const std::filesystem::path& path);

}  // namespace Kit
