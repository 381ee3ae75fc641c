// ksv-host: runs a page's script against the plug-in module, without a browser. See --help.

#include <cstdio>
#include <exception>

#include "kit/host/command_line.h"
#include "kit/host/complain.h"
#include "kit/host/page_run.h"
#include "kit/host/watchdog.h"
#include "platform/desktop.h"

namespace {

int Fail(const std::string& sentence, Kit::ExitStatus status) {
  Kit::Complain(sentence);
  return status;
}

int RunHost(int argc, char** argv) {
  Kit::HostOptions options;
  bool helpWanted = false;
  const std::string mistake = Kit::ParseHostOptions(Kit::CommandLine(argc, argv), options, helpWanted);
  if (!mistake.empty()) return Fail(mistake + " See ksv-host --help.", Kit::kExitUsage);
  if (helpWanted) return std::fputs(Kit::HostHelpText(), stdout) < 0 ? Kit::kExitUsage : 0;
  if (!options.picture.empty() && !Kit::PageWindow::kHasPicture) {
    return Fail("There is no --picture on this system: its windows can't be seen.", Kit::kExitUsage);
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
