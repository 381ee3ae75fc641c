/// The scripts of a page's files.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace Kit {

struct Script {
  std::string name;    ///< For messages.
  std::string source;  ///< UTF-8. What comes from within a page keeps its line numbers.
};

/// A file's bytes. Throws `std::runtime_error`.
std::string ReadFile(const std::filesystem::path& path);

/// Reads one PAGE of the command line: a page's scripts in their order, or the file itself as a script. Throws
/// `std::runtime_error` that says which file is at fault.
std::vector<Script> ReadPage(const std::filesystem::path& page);

}  // namespace Kit
