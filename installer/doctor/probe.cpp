#include "installer/doctor/probe.h"

#include <cstdio>
#include <cstdlib>
#include <sstream>

#include "agent/cksv_plugin_zub.h"
#include "base/decimal.h"
#include "base/product.h"
#include "display/cksv_plugin_wys.h"
#include "installer/doctor/child.h"
#include "installer/doctor/texts.h"
#include "library/library_loader.h"
#include "platform/system_path.h"

namespace NorvoWebAPI::KSV::Doctor {
namespace {

// What the child says, a word and a text on each line. A library may print too: the mark tells the lines apart.
constexpr char kMark[] = "ksv-doctor-probe ";
constexpr char kLoaded[] = "loaded";
constexpr char kRefused[] = "refused";
constexpr char kLacks[] = "lacks";
constexpr char kAnswer[] = "answer";

struct Said {
  std::string word;
  std::string text;
};

std::vector<Said> ReadLines(const std::string& output) {
  std::vector<Said> said;
  std::istringstream lines(output);
  for (std::string line; std::getline(lines, line);) {
    const size_t mark = line.find(kMark);
    if (mark == std::string::npos) continue;
    line.erase(0, mark + sizeof kMark - 1);
    if (line.ends_with('\r')) line.pop_back();
    const size_t space = std::min(line.find(' '), line.size() - 1);
    said.push_back({line.substr(0, space), line.substr(space + 1)});
  }
  return said;
}

void Say(const char* word, const std::string& text) {
  std::printf("\n%s%s %s\n", kMark, word, text.c_str());
  std::fflush(stdout);
}

// The plug-in's own code for a call of this entry point.
template <typename Wrapper>
int32_t AnswerOf(const EntryTable::Row& entry) {
  Outcome outcome;
  Wrapper(kPlatformTag).CheckEntry(entry, outcome);
  return outcome.pluginCode;
}

template <typename Wrapper, typename Entries>
void SayAnswer(std::span<const WCHAR* const> files) {
  Entries entries;
  FoundLibrary found;
  if (LibraryPath folder; folder.ReadLoadFolder()) found = LoadFirst(folder, files);
  if (found) entries.Bind(found.library.Get());
  Say(kAnswer, std::to_string(AnswerOf<Wrapper>(entries.Init)));
  found.library.Release();
}

std::vector<const char*> MissingEntries(const std::string& what, HMODULE module) {
  if (what == kAgentProbe) return AgentEntries().Bind(module);
  if (what == kDisplayProbe) return DisplayEntries().Bind(module);
  constexpr const char* kStart = "NP_Initialize";
  return GetProcAddress(module, kStart) ? std::vector<const char*>() : std::vector<const char*>{kStart};
}

void SayWhetherLoaded(const std::string& what, const std::string& file) {
  Library library(LoadLibraryW(WideFromUtf8(file).c_str()));
  if (!library) {
    // The system's words may begin with the path, which the report has already.
    const std::string error = LoadError();
    const std::string path = SystemPath(file) + ": ";
    return Say(kRefused, error.starts_with(path) ? error.substr(path.size()) : error);
  }
  for (const char* name : MissingEntries(what, library.Get())) Say(kLacks, name);
  Say(kLoaded, "");
  library.Release();
}

}  // namespace

Probed Prober::Load(const char* what, const std::string& path) const {
  const ChildEnd end = RunChild({program, "--probe", what, "--file", ToUtf8(path)}, limit);
  Probed probed;
  for (const Said& said : ReadLines(end.output)) {
    if (said.word == kLacks) probed.lacking.push_back(said.text);
    if (said.word == kRefused) probed.problem = "can't be loaded: " + said.text;
    probed.loaded = probed.loaded || said.word == kLoaded;
  }
  if (probed.loaded || !probed.problem.empty()) return probed;
  probed.fatal = true;
  probed.problem = end.timedOut ? "isn't loaded within " + std::to_string(limit.count()) + " s: browsers hang with it"
                                : "ends the program that loads it (" + end.how + "): browsers crash with it";
  return probed;
}

std::optional<int32_t> Prober::Answer(const char* what) const {
  const ChildEnd end = RunChild({program, "--probe", what}, limit);
  for (const Said& said : ReadLines(end.output)) {
    if (said.word == kAnswer) return ReadDecimal<int32_t>(said.text);
  }
  return {};
}

void RunProbe(const std::string& what, const std::string& file) {
  PrepareForCrash();
  if (!file.empty()) {
    SayWhetherLoaded(what, file);
  } else if (what == kAgentProbe) {
    SayAnswer<CKSVPluginZUB, AgentEntries>(kAgentFiles);
  } else {
    SayAnswer<CKSVPluginWYS, DisplayEntries>(kDisplayFiles);
  }
  std::_Exit(0);
}

}  // namespace NorvoWebAPI::KSV::Doctor
