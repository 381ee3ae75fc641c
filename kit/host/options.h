/// The command line of ksv-host.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "kit/program/page_options.h"

namespace Kit {

struct HostOptions : PageOptions {
  std::vector<std::filesystem::path> pages;  ///< In the order of running.
  std::string address;                       ///< What the page has for its own address.
  bool log = false;
};

/// Reads `arguments` (UTF-8, the program's path first) into `options`. As `OptionParser::Read`.
std::optional<int> ReadHostOptions(const std::vector<std::string>& arguments, HostOptions& options);

}  // namespace Kit
