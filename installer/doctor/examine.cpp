#include <exception>

#include "installer/doctor/checks.h"

namespace NorvoWebAPI::KSV::Doctor {
namespace {

// A group that throws must not stop the others.
template <typename Work>
void Guard(Report& report, const char* name, const Work& work) {
  constexpr char kRemedy[] = "Free memory, and see that this user may read it and start programs. Then run this again.";
  try {
    work();
  } catch (const std::exception& error) {
    report.Fail(name, std::string("not all of it could be looked at: ") + error.what(), kRemedy);
  } catch (...) {
    report.Fail(name, "not all of it could be looked at: the system refused", kRemedy);
  }
}

}  // namespace

void Examine(Report& report, const Prober& prober, const std::string& root) {
  std::optional<LibraryPath> folder;
  Guard(report, "settings", [&] { folder = ExamineSettings(report); });
  Guard(report, "agent library", [&] { ExamineAgent(report, prober, folder); });
  Guard(report, "display library", [&] { ExamineDisplay(report, prober, folder); });
  Guard(report, "update time", [&] { ExamineUpdate(report); });
  Guard(report, "module", [&] { ExamineBrowsers(report, prober); });
  Guard(report, "bridge", [&] { ExamineBridge(report, prober, root); });
  report.Finish();
}

}  // namespace NorvoWebAPI::KSV::Doctor
