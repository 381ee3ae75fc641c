// ksv-doctor: tells why the plug-in would not work here. See --help.
#include <cstdio>
#include <exception>
#include <string>

#include "installer/doctor/report.h"
#include "kit/program/option_parser.h"

namespace {

constexpr int kHealthy = 0, kBroken = 1;

constexpr char kDescription[] = "Tells why the plug-in would not work here.";

constexpr char kFooter[] =
    R"(It prints a line for each link of the chain from the settings to the registered module, then the first broken one and
what to do about it: why pages would get 10 (no library), 11 (a library lacks what is called) or 17 (the last update is
too old) from the plug-in. Run it as the user of the browser, in the form (32 or 64 bits) of the browser. It loads the
libraries and the module, calls nothing in them, and changes nothing.

The JSON has version, for (bits and system), healthy, firstBroken (a check's name, or null), checks (name, status, found,
remedy), zubInit and wysInit (the code that these would give by the plug-in's own test).

Exit status:
  0  no link is broken     1  some link is broken, or not all could be looked at     2  the command line is wrong)";

// False when the text could not be written in full: the exit status must not say healthy then.
bool Print(const std::string& text) {
  return std::fputs(text.c_str(), stdout) >= 0 && std::fflush(stdout) == 0;
}

}  // namespace

int main(int argc, char** argv) {
  bool json = false;
  Kit::OptionParser parser("ksv-doctor", kDescription, kFooter);
  parser.add_flag("--json", json, "print JSON instead, in UTF-8");
  if (const auto end = parser.Read({argv, argv + argc})) return *end;
  try {
    const auto report = NorvoWebAPI::KSV::Doctor::Examine();
    if (Print(json ? report.ToJson() : report.ToText())) return report.FirstBroken() ? kBroken : kHealthy;
    std::fputs("ksv-doctor can't write what it found\n", stderr);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "ksv-doctor can't look at everything: %s\n", error.what());
  } catch (...) {
    std::fputs("ksv-doctor can't look at everything: the system refused\n", stderr);
  }
  return kBroken;
}
