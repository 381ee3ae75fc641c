#include "installer/doctor/report.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

#include "base/product.h"
#include "base/text.h"
#include "installer/doctor/checks.h"

namespace NorvoWebAPI::KSV::Doctor {
namespace {

const char* Word(Status status) {
  switch (status) {
    case Status::Pass:
      return "PASS";
    case Status::Warn:
      return "WARN";
    default:
      return "FAIL";
  }
}

std::string ToUtf8(const std::string& text) {
  const Bstr wide = BstrFromNarrow(text.c_str());
  const int size = WideCharToMultiByte(CP_UTF8, 0, wide.Get(), -1, nullptr, 0, nullptr, nullptr);
  std::string utf8(static_cast<size_t>(std::max(size, 1)), '\0');
  WideCharToMultiByte(CP_UTF8, 0, wide.Get(), -1, utf8.data(), size, nullptr, nullptr);
  utf8.pop_back();
  return utf8;
}

}  // namespace

void Report::Pass(std::string name, std::string found) {
  checks.push_back({std::move(name), Status::Pass, std::move(found), ""});
}
void Report::Warn(std::string name, std::string found, std::string remedy) {
  checks.push_back({std::move(name), Status::Warn, std::move(found), std::move(remedy)});
}
void Report::Fail(std::string name, std::string found, std::string remedy) {
  checks.push_back({std::move(name), Status::Fail, std::move(found), std::move(remedy)});
}

const Check* Report::FirstBroken() const {
  const auto broken = std::ranges::find(checks, Status::Fail, &Check::status);
  return broken == checks.end() ? nullptr : &*broken;
}

std::string Report::ToText() const {
  std::string text = std::string("ksv-doctor ") + kVersion + ", for " + OwnKind() + " browsers\n\n";
  size_t width = 0;
  for (const Check& check : checks) width = std::max(width, check.name.size());
  for (const Check& check : checks) {
    text += Word(check.status) + ("  " + check.name) + std::string(width + 2 - check.name.size(), ' ') + check.found;
    // Of the failures, the first one's remedy is printed at the end: the others often follow from it.
    if (check.status == Status::Warn && !check.remedy.empty()) text += " " + check.remedy;
    text += '\n';
  }
  text += "\nA page gets " + std::to_string(agentAnswer) + " from zubInit and " + std::to_string(displayAnswer) +
          " from wysInit (0: the library is called).\n";
  const Check* const broken = FirstBroken();
  return text + (broken ? "The first broken link is the " + broken->name + ". " + broken->remedy + "\n"
                        : "No link is broken.\n");
}

std::string Report::ToJson() const {
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  for (const Check& check : checks) {
    list.push_back({{"name", check.name},
                    {"status", Word(check.status)},
                    {"found", ToUtf8(check.found)},
                    {"remedy", ToUtf8(check.remedy)}});
  }
  const Check* const broken = FirstBroken();
  const nlohmann::ordered_json report{{"version", kVersion},
                                      {"for", OwnKind()},
                                      {"healthy", !broken},
                                      {"zubInit", agentAnswer},
                                      {"wysInit", displayAnswer},
                                      {"firstBroken", broken ? nlohmann::ordered_json(broken->name) : nullptr},
                                      {"checks", list}};
  return report.dump(2) + "\n";
}

Report Examine() {
  Report report;
  const std::optional<LibraryPath> folder = ExamineSettings(report);
  ExamineAgent(report, folder);
  ExamineDisplay(report, folder);
  ExamineUpdate(report);
  ExamineRegistration(report);
  return report;
}

}  // namespace NorvoWebAPI::KSV::Doctor
