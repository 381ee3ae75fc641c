// ksv-doctor: tells why the plug-in would not work here. See --help.
#include <cstdio>
#include <exception>
#include <string>

#include "installer/doctor/checks.h"
#include "kit/program/command_line.h"
#include "kit/program/option_parser.h"

namespace Doctor = NorvoWebAPI::KSV::Doctor;

namespace {

constexpr int kHealthy = 0, kBroken = 1;
constexpr int kMaxSeconds = 3600;

constexpr char kDescription[] = "Tells why the plug-in would not work here.";

constexpr char kFooter[] =
    R"(It prints a line for each link of the chain from the settings to the module that browsers find, and of the bridge to
browsers that load no plug-ins, each as soon as it is looked at. Then it says what pages get, in each browser, which link is
the first broken one and what to do about it: why pages would get 10 (no library), 11 (a library lacks what is called) or 17
(the last update is too old), or find no plug-in at all.

Run it as the user of the browser, with the browser's environment, in the form (32 or 64 bits) of the browser. It loads
the libraries and the module, each in a process of its own, and calls nothing in them. It also starts the bridge's
native host, as a browser does, and asks it for one instance of the plug-in. It changes nothing.

docs/doctor.md describes the output, docs/doctor.schema.json its JSON.

Exit status:
  0  no link is broken     1  some link is broken, or not all could be looked at     2  the command line is wrong)";

struct Options {
  bool json = false;
  int seconds = 10;
  std::string probe;
  std::string file;
  std::string root;
};

int Examine(const Options& options, const std::string& program) {
  bool isWritten = true;
  // Flushed at once: what has been found is seen even if the next check hangs.
  const auto print = [&](const std::string& text) {
    isWritten = std::fputs(text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0 && isWritten;
  };
  Doctor::Report report = options.json ? Doctor::Report() : Doctor::Report(print);
  Doctor::Examine(report, {program, std::chrono::seconds(options.seconds)}, options.root);
  if (options.json) print(report.ToJson());
  if (isWritten) return report.FirstBroken() ? kBroken : kHealthy;
  std::fputs("ksv-doctor can't write what it found\n", stderr);
  return kBroken;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const std::vector<std::string> arguments = Kit::CommandLine(argc, argv);
    Options options;
    Kit::OptionParser parser("ksv-doctor", kDescription, kFooter);
    parser.set_version_flag("--version", std::string("ksv-doctor: ") + Doctor::TellVersions(),
                            "print the product's versions and what each one is");
    parser.add_flag("--json", options.json, "print JSON instead, in UTF-8");
    parser.add_option("--timeout", options.seconds, "the time that a library may take to load, or a host to answer")
        ->type_name("SECONDS")
        ->capture_default_str()
        ->check(CLI::Range(1, kMaxSeconds).description(""));
    // By these the doctor starts itself; an empty group keeps them out of the help.
    parser.add_option("--probe", options.probe)->group("");
    parser.add_option("--file", options.file)->group("");
    // The tests have a machine of their own in a folder.
    parser.add_option("--root", options.root)->group("");
    if (const auto end = parser.Read(arguments)) return *end;
    if (!options.probe.empty()) Doctor::RunProbe(options.probe, options.file);
    return Examine(options, arguments.front());
  } catch (const std::exception& error) {
    std::fprintf(stderr, "ksv-doctor can't look at anything: %s\n", error.what());
  } catch (...) {
    std::fputs("ksv-doctor can't look at anything: the system refused\n", stderr);
  }
  return kBroken;
}
