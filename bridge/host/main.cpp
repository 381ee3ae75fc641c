// ksv-bridge: the native host of the browser extension. It loads the plug-in module and serves one document. See
// --help.

#include <cstdio>
#include <exception>

#include "base/product.h"
#include "bridge/host/caller.h"
#include "bridge/host/process.h"
#include "bridge/host/session.h"
#include "kit/program/command_line.h"
#include "kit/program/paths.h"

namespace {

constexpr char kHelp[] =
    R"(ksv-bridge: brings the plug-in to pages in browsers that load no plug-ins.

A browser starts it for the plug-in's extension, with a pipe for each direction; bridge/PROTOCOL.md describes the messages.
It loads the module that lies beside it or one folder above it, )" KSV_MODULE_FILE R"(, and ends with its input.

  --help     this text
  --version  the version

Exit status: 0 the browser has ended the talk, 1 it broke the protocol or something is missing, 2 the program was not
started by the plug-in's extension.
)";

std::filesystem::path FindModule(const std::string& program) {
  const std::filesystem::path folder = std::filesystem::absolute(Kit::PathOf(program)).parent_path();
  const std::filesystem::path above = folder.parent_path() / KSV_MODULE_FILE;
  std::error_code ignored;
  const bool isAbove =
      !std::filesystem::exists(folder / KSV_MODULE_FILE, ignored) && std::filesystem::exists(above, ignored);
  return isAbove ? above : folder / KSV_MODULE_FILE;
}

int RunBridge(const std::vector<std::string>& arguments) {
  if (arguments.size() == 2 && arguments[1] == "--help") return std::fputs(kHelp, stdout), 0;
  if (arguments.size() == 2 && arguments[1] == "--version") return std::puts(KSV_FILE_VERSION), 0;
  if (const auto wrong = Bridge::RefuseCaller(arguments))
    return std::fprintf(stderr, "ksv-bridge: %s\n", wrong->c_str()), 2;
  Bridge::EndProcess(Bridge::ServeDocument(Bridge::TakePipes(), FindModule(arguments.front())));
}

}  // namespace

int main(int argc, char** argv) try {
  return RunBridge(Kit::CommandLine(argc, argv));
} catch (const std::exception& error) {
  std::fprintf(stderr, "ksv-bridge: %s\n", error.what());
  return 1;
}
