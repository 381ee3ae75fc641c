/// How the programs read their command lines: by CLI11, with one form of help, messages and exit status.
#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <vector>

namespace Kit {

class OptionParser : public CLI::App {
 public:
  /// `footer` follows the options in the help text: what the program does with them, and its exit statuses.
  OptionParser(const std::string& program, const std::string& description, const std::string& footer);

  /// Reads the arguments, the program's path first. Gives nothing when the program is to go on. Else it is to end with
  /// the status given: it has printed its help, or what is wrong with the arguments.
  std::optional<int> Read(const std::vector<std::string>& arguments);
};

}  // namespace Kit
