/// What a program gets from its system before its work begins.
#pragma once

#include <string>
#include <vector>

namespace Kit {

/// The program's path and its arguments in UTF-8. From now on standard output takes UTF-8.
std::vector<std::string> CommandLine(int argc, char** argv);

}  // namespace Kit
