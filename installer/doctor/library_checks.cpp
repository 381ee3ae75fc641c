#include <span>

#include "agent/cksv_plugin_zub.h"
#include "base/product.h"
#include "display/cksv_plugin_wys.h"
#include "installer/doctor/checks.h"
#include "installer/doctor/file_facts.h"
#include "library/library_loader.h"

namespace NorvoWebAPI::KSV::Doctor {
namespace {

using Names = std::span<const WCHAR* const>;

std::string Join(const std::vector<const char*>& names) {
  std::string joined;
  for (const char* name : names) joined += (joined.empty() ? "" : ", ") + std::string(name);
  return joined;
}

std::string JoinFiles(Names files) {
  std::string joined;
  for (const WCHAR* file : files) joined += (joined.empty() ? "" : " or ") + Narrow(file);
  return joined;
}

std::string PathOf(const LibraryPath& folder, const WCHAR* file) {
  return Narrow(PathInFolder(folder, file).c_str());
}

// Why the files that exist among these can't be loaded; empty when none exists.
std::string TellRefused(const LibraryPath& folder, Names files) {
  std::string told;
  for (const WCHAR* file : files) {
    const std::string path = PathOf(folder, file);
    if (FileExists(path)) told += (told.empty() ? "" : "; ") + path + " " + WhyNotLoaded(path);
  }
  return told;
}

// Loads a library as the plug-in does and reports it. A missing one is reported as `ifMissing`.
FoundLibrary ExamineFile(Report& report, const std::string& name, const LibraryPath& folder, Names files,
                         Status ifMissing, const std::string& consequence) {
  FoundLibrary library = LoadFirst(folder, files);
  const std::string refused = TellRefused(folder, files.first(library.place));
  const std::string remedy = std::string("Put the vendor's ") + OwnKind() + " library there, and all that it needs.";
  if (!library && refused.empty()) {
    const std::string none = "there is no " + JoinFiles(files) + " in " + Narrow(folder.c_str());
    if (ifMissing == Status::Fail) {
      report.Fail(name, none + consequence, remedy);
    } else {
      report.Warn(name, none + consequence, "");
    }
  } else if (!library) {
    report.Fail(name, refused + consequence, remedy);
  } else if (const std::string path = PathOf(folder, files[library.place]); refused.empty()) {
    report.Pass(name, path + " loads");
  } else {
    report.Warn(name, refused + ";", path + " loads in its place.");
  }
  return library;
}

// The plug-in's own code for a call of this entry point.
template <typename Wrapper>
int32_t AnswerOf(const EntryTable::Row& entry) {
  Outcome outcome;
  Wrapper(kPlatformTag).CheckEntry(entry, outcome);
  return outcome.pluginCode;
}

}  // namespace

void ExamineAgent(Report& report, const std::optional<LibraryPath>& folder) {
  AgentEntries entries;
  FoundLibrary library;
  if (folder) {
    library = ExamineFile(report, "agent library", *folder, kAgentFiles, Status::Fail,
                          ": calls of the agent answer " + std::to_string(kNoLibrary));
  }
  if (library) {
    static constexpr char kName[] = "agent's entry points";
    const auto missing = entries.Bind(library.library.Get());
    const std::string lacks =
        "it lacks " + Join(missing) + ": what needs these answers " + std::to_string(kNoEntryPoint);
    if (missing.empty()) {
      report.Pass(kName, "it has them all");
    } else if (entries.Init) {
      report.Warn(kName, lacks + ".", "A library of the first generation has none that begin with ZUB3.");
    } else {
      report.Fail(kName, lacks, "Put the vendor's host agent there: no page can start this one.");
    }
  }
  report.agentAnswer = AnswerOf<CKSVPluginZUB>(entries.Init);
}

void ExamineDisplay(Report& report, const std::optional<LibraryPath>& folder) {
  const std::string consequence = ": calls of the display answer " + std::to_string(kNoLibrary);
  DisplayEntries entries;
  FoundLibrary library;
  if (folder) {
    // Optional: a machine that displays nothing has none.
    library = ExamineFile(report, "display library", *folder, kDisplayFiles, Status::Warn, consequence);
  }
  if (library) {
    static constexpr char kName[] = "display's entry points";
    const auto missing = entries.Bind(library.library.Get());
    if (missing.empty()) {
      report.Pass(kName, "it has them all");
    } else {
      report.Fail(kName, "it lacks " + Join(missing) + consequence, "Put a display library there that is whole.");
    }
  }
  report.displayAnswer = AnswerOf<CKSVPluginWYS>(entries.Init);
}

}  // namespace NorvoWebAPI::KSV::Doctor
