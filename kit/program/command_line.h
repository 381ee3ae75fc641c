/// The command line as the system passes it.
#pragma once

#include <string>
#include <vector>

namespace Kit {

/// The program's path and its arguments in UTF-8. Switches the console to UTF-8 too.
std::vector<std::string> CommandLine(int argc, char** argv);

}  // namespace Kit
