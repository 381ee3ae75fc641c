#include <memory>
#include <stdexcept>

#include "kit/program/command_line.h"
#include "kit/program/paths.h"

// The order matters: the shell's header needs the general one.
// clang-format off
#include "platform/win32.h"
#include <shellapi.h>
// clang-format on

namespace Kit {

std::vector<std::string> CommandLine(int /*argc*/, char** /*argv*/) {
  SetConsoleOutputCP(CP_UTF8);
  // argv has only characters of the ANSI code page.
  int count = 0;
  const std::unique_ptr<LPWSTR, decltype(&LocalFree)> wide(CommandLineToArgvW(GetCommandLineW(), &count), &LocalFree);
  if (!wide) throw std::runtime_error("The command line can't be read.");
  std::vector<std::string> arguments;
  for (int at = 0; at < count; ++at) {
    // Used for the conversion alone; backslashes are kept.
    const std::u8string text = std::filesystem::path(wide.get()[at]).u8string();
    arguments.emplace_back(text.begin(), text.end());
  }
  WCHAR program[MAX_PATH]{};
  if (GetModuleFileNameW(nullptr, program, MAX_PATH) > 0) arguments.front() = TextOf(program);
  return arguments;
}

}  // namespace Kit
