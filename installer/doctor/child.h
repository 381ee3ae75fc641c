/// Starting this program, or the bridge's host, as a child, on each system in its own way.
#pragma once

#include <chrono>
#include <string>
#include <vector>

namespace NorvoWebAPI::KSV::Doctor {

struct ChildEnd {
  bool timedOut = false;
  std::string how;     ///< The exit status or the signal, for a person.
  std::string output;  ///< What it wrote to standard output, 64 KB at most.
};

/// Runs a program and waits for its end; stops it after `limit`. The arguments are UTF-8, the program's path first.
/// `input`, 4 KB at most, is all that it reads from standard input. Throws `std::system_error` when it can't be
/// started.
ChildEnd RunChild(const std::vector<std::string>& arguments, std::chrono::seconds limit, const std::string& input = {});

/// In the child: a crash leaves no dialog and no file behind, and the child ends with its parent.
void PrepareForCrash();

/// The system's words for why the last library could not be loaded, in UTF-8.
std::string LoadError();

}  // namespace NorvoWebAPI::KSV::Doctor
