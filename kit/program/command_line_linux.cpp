#include <filesystem>

#include "kit/program/command_line.h"
#include "kit/program/paths.h"

namespace Kit {

std::vector<std::string> CommandLine(int argc, char** argv) {
  std::vector<std::string> arguments(argv, argv + argc);
  // argv[0] has no folder when the program was found by the PATH variable.
  arguments.front() = TextOf(std::filesystem::read_symlink("/proc/self/exe"));
  return arguments;
}

}  // namespace Kit
