#include <filesystem>

#include "kit/host/command_line.h"
#include "kit/host/paths.h"

namespace Kit {

std::vector<std::string> CommandLine(int argc, char** argv) {
  std::vector<std::string> arguments(argv, argv + argc);
  // A program that was found along the path has a bare name.
  arguments.front() = TextOf(std::filesystem::read_symlink("/proc/self/exe"));
  return arguments;
}

}  // namespace Kit
