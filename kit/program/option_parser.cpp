#include "kit/program/option_parser.h"

#include "kit/program/exit_status.h"

namespace Kit {
namespace {

constexpr size_t kOptionColumnWidth = 26;

std::string MessageOf(const CLI::App* parser, const CLI::Error& error) {
  return parser->get_name() + ": " + error.what() + ". See " + parser->get_name() + " --help.\n";
}

}  // namespace

OptionParser::OptionParser(const std::string& program, const std::string& description, const std::string& footer)
    : CLI::App(description, program) {
  this->footer(footer);
  set_help_flag("-h,--help", "print this text");
  get_formatter()->column_width(kOptionColumnWidth);
  failure_message(MessageOf);
  // Elsewhere a slash begins a path, and a path means the same on every system.
  allow_windows_style_options(false);
}

std::optional<int> OptionParser::Read(const std::vector<std::string>& arguments) try {
  // The last of several counts, so that a script can override what it has given before.
  for (CLI::Option* option : get_options()) {
    if (option->nonpositional()) option->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
  }
  // The parser takes the last argument first.
  parse(std::vector<std::string>(arguments.rbegin(), arguments.rend() - 1));
  return std::nullopt;
} catch (const CLI::ParseError& end) {
  const bool isMistake = exit(end) != 0;
  // A caller that reads the exit status alone must not take a help text that was cut off for a success.
  return isMistake || !std::cout.flush() ? kExitUsage : 0;
}

}  // namespace Kit
