#include <algorithm>
#include <span>

#include "agent/agent_entries.h"
#include "agent/cksv_plugin_zub.h"
#include "base/product.h"
#include "base/result_codes.h"
#include "display/cksv_plugin_wys.h"
#include "installer/doctor/checks.h"
#include "installer/doctor/file_facts.h"
#include "installer/doctor/system.h"
#include "installer/doctor/texts.h"
#include "library/library_loader.h"

namespace NorvoWebAPI::KSV::Doctor {
namespace {

using Names = std::span<const WCHAR* const>;

std::string Join(const std::vector<std::string>& names, const char* between) {
  std::string joined;
  for (const std::string& name : names) joined += (joined.empty() ? "" : between) + name;
  return joined;
}

// Looks at a file that is there, and loads it only when its headers are in order.
Probed ExamineFile(const Prober& prober, const char* what, const std::string& path) {
  Probed probed;
  if (FindFile(path) == Presence::Denied) {
    probed.problem = "can't be read by this user";
    return probed;
  }
  const ModuleFacts facts = ReadModuleFacts(path);
  probed.problem = WhyNoModule(facts);
  if (probed.problem.empty()) return prober.Load(what, path);
  probed.mayLoad = facts.kind == OwnKind();
  return probed;
}

// A library of the vendor's: what it is called in the report, its files in the order in which the plug-in tries them.
struct Wanted {
  const char* what;
  const char* name;
  Names files;
  Status ifMissing;
  std::string consequence;
};

// Looks for a library as the plug-in does and reports it.
Probed ExamineLibrary(Report& report, const Prober& prober, const LibraryPath& folder, const Wanted& wanted) {
  const std::string remedy =
      std::string("Put the vendor's ") + OwnKind() + " library there, and all that it needs, for this user to read.";
  std::vector<std::string> names;
  std::vector<std::string> refused;
  bool mayLoad = false;
  for (const WCHAR* file : wanted.files) {
    names.push_back(Narrow(file));
    const std::string path = Narrow(PathInFolder(folder, file).c_str());
    if (FindFile(path) == Presence::Missing) continue;
    Probed probed = ExamineFile(prober, wanted.what, path);
    const std::string shown = ShowPath(path);
    if (probed.fatal) {
      report.Fail(wanted.name, shown + " " + probed.problem, remedy);
      return probed;
    }
    if (probed.loaded && refused.empty()) {
      report.Pass(wanted.name, shown + " loads");
    } else if (probed.loaded) {
      report.Warn(wanted.name, Join(refused, "; ") + ";", shown + " loads in its place.");
    }
    if (probed.loaded) return probed;
    refused.push_back(shown + " " + probed.problem);
    mayLoad = mayLoad || probed.mayLoad;
  }
  if (!refused.empty()) {
    report.Fail(wanted.name, Join(refused, "; ") + (mayLoad ? "" : wanted.consequence), remedy);
  } else {
    const std::string none = "there is no " + Join(names, " or ") + " in " + ShowPath(Narrow(folder.c_str()));
    if (wanted.ifMissing == Status::Fail) {
      report.Fail(wanted.name, none + wanted.consequence, remedy);
    } else {
      report.Warn(wanted.name, none + wanted.consequence, "");
    }
  }
  return {};
}

}  // namespace

void ExamineAgent(Report& report, const Prober& prober, const std::optional<LibraryPath>& folder) {
  Probed library;
  if (folder) {
    library = ExamineLibrary(report, prober, *folder,
                             {kAgentProbe, "agent library", kAgentFiles, Status::Fail,
                              ": calls of the agent answer " + std::to_string(kNoLibrary)});
  }
  if (library.loaded) {
    static constexpr char kName[] = "agent's entry points";
    const std::string lacks =
        "it lacks " + Join(library.lacking, ", ") + ": what needs these answers " + std::to_string(kNoEntryPoint);
    if (library.lacking.empty()) {
      report.Pass(kName, "it has them all");
    } else if (std::ranges::count(library.lacking, "ZUB_Init") == 0) {
      report.Warn(kName, lacks + ".", "A library of the first generation has none that begin with ZUB3.");
    } else {
      report.Fail(kName, lacks, "Put the vendor's agent library there: no page can start this one.");
    }
  }
  if (!library.fatal) report.agentAnswer = prober.Answer(kAgentProbe);
}

void ExamineDisplay(Report& report, const Prober& prober, const std::optional<LibraryPath>& folder) {
  const std::string consequence = ": calls of the display answer " + std::to_string(kNoLibrary);
  Probed library;
  if (folder) {
    // Optional: a machine that displays nothing has none.
    library = ExamineLibrary(report, prober, *folder,
                             {kDisplayProbe, "display library", kDisplayFiles, Status::Warn, consequence});
  }
  if (library.loaded) {
    static constexpr char kName[] = "display's entry points";
    if (library.lacking.empty()) {
      report.Pass(kName, "it has them all");
    } else {
      report.Fail(kName, "it lacks " + Join(library.lacking, ", ") + consequence,
                  "Put a display library there that is whole.");
    }
  }
  if (!library.fatal) report.displayAnswer = prober.Answer(kDisplayProbe);
}

void ExamineModule(Report& report, const Prober& prober, const char* name, const std::string& path,
                   const std::string& remedy) {
  const std::string shown = ShowPath(path);
  if (FindFile(path) == Presence::Missing) return report.Fail(name, "there is no file " + shown, remedy);
  const Probed module = ExamineFile(prober, kModuleProbe, path);
  if (!module.loaded) return report.Fail(name, shown + " " + module.problem, remedy);
  if (!module.lacking.empty()) return report.Fail(name, shown + " is a library, but no browser plug-in", remedy);
  report.Pass(name, shown + " loads");
  report.pluginFound = true;
}

}  // namespace NorvoWebAPI::KSV::Doctor
