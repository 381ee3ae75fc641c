/// The command line of ksv-host.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace Kit {

struct HostOptions {
  std::vector<std::filesystem::path> pages;  ///< In the order of running.
  std::filesystem::path module;              ///< Absolute.
  std::filesystem::path picture;             ///< Empty: no picture is saved.
  std::string address;                       ///< What the page has for its own address.
  int width = 480;
  int height = 540;
  int timeoutSeconds = 60;
  bool log = false;
};

/// The text that `--help` prints.
const char* HostHelpText();

/// Reads `arguments` (UTF-8, the program's path first) into `options`. Gives an empty text, or the sentence that says
/// what is wrong with them. `helpWanted` becomes true on `--help`.
std::string ParseHostOptions(const std::vector<std::string>& arguments, HostOptions& options, bool& helpWanted);

}  // namespace Kit
