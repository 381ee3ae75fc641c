// ksv-host: runs a page's script against the plug-in module, without a browser. See --help.

#include <cstdio>
#include <exception>

#include "kit/host/complain.h"
#include "kit/host/page_run.h"
#include "kit/host/watchdog.h"
#include "kit/program/command_line.h"
#include "platform/desktop.h"

namespace {

int Fail(const std::string& sentence, Kit::ExitStatus status) {
  Kit::Complain(sentence);
  return status;
}

int RunHost(int argc, char** argv) {
  Kit::HostOptions options;
  if (const auto end = Kit::ReadHostOptions(Kit::CommandLine(argc, argv), options)) return *end;
  if (!options.picture.empty() && !Kit::PageWindow::kHasPicture) {
    return Fail(
        "There is no --picture on this system. Take a picture of the window with another program, such as import.",
        Kit::kExitUsage);
  }
  std::vector<Kit::Script> scripts;
  for (const auto& page : options.pages) {
    for (Kit::Script& script : Kit::ReadPage(page)) scripts.push_back(std::move(script));
  }
  if (options.log) {
    platform::AddDebugListener([](const char* text) { std::fprintf(stderr, "%s", text); });
  }
  const Kit::Watchdog watchdog{std::chrono::seconds(options.timeoutSeconds)};
  return Kit::PageRun(options).Run(scripts);
}

}  // namespace

int main(int argc, char** argv) try { return RunHost(argc, argv); } catch (const std::exception& error) {
  return Fail(error.what(), Kit::kExitNoAnswer);
}
