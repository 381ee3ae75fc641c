#include "installer/doctor/report.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

#include "base/product.h"
#include "installer/doctor/checks.h"
#include "installer/doctor/texts.h"

namespace NorvoWebAPI::KSV::Doctor {
namespace {

using Json = nlohmann::ordered_json;

// The longest check name has this width. It is fixed, because lines are printed before later names are known.
constexpr size_t kNameWidth = 30;

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

Json OrNull(const std::optional<int32_t>& answer) {
  return answer ? Json(*answer) : Json();
}

Json OrNull(const std::string& text) {
  return text.empty() ? Json() : Json(Printable(text));
}

}  // namespace

std::string TellVersions() {
  return std::string("package and module ") + KSV_FILE_VERSION +
         ", script (its property \"version\") and registration " + kVersion + ", MIME type for pages " + kMimeType;
}

Report::Report(std::function<void(const std::string&)> print) : print(std::move(print)) {
  if (this->print) {
    this->print(std::string("ksv-doctor ") + KSV_FILE_VERSION + ", for " + OwnKind() + " browsers\n" + TellVersions() +
                "\n\n");
  }
}

void Report::Pass(std::string name, const std::string& found) {
  Add(std::move(name), Status::Pass, found, "");
}
void Report::Warn(std::string name, const std::string& found, const std::string& remedy) {
  Add(std::move(name), Status::Warn, found, remedy);
}
void Report::Fail(std::string name, const std::string& found, const std::string& remedy) {
  Add(std::move(name), Status::Fail, found, remedy);
}

void Report::Add(std::string name, Status status, const std::string& found, const std::string& remedy) {
  const Check& check = checks.emplace_back(Check{std::move(name), status, Printable(found), Printable(remedy)});
  if (!print) return;
  std::string line = Word(status);
  line.append("  ").append(check.name);
  line.append(kNameWidth + 2 - std::min(check.name.size(), kNameWidth), ' ').append(check.found);
  // Of the failures, the first one's remedy is printed at the end: the others often follow from it.
  if (status == Status::Warn && !check.remedy.empty()) line += " " + check.remedy;
  print(line + "\n");
}

const Check* Report::FirstBroken() const {
  const auto broken = std::ranges::find(checks, Status::Fail, &Check::status);
  return broken == checks.end() ? nullptr : &*broken;
}

std::string Report::TellAnswers() const {
  if (!pluginFound)
    return "Browsers that load plug-ins don't find this one, or can't start it: no page there gets an answer.";
  const auto tell = [](const std::optional<int32_t>& answer) {
    return answer ? std::to_string(*answer) : std::string("no answer (the library ends or stops the browser)");
  };
  return "A page gets " + tell(agentAnswer) + " from zubInit and " + tell(displayAnswer) +
         " from wysInit (0: the library is called).";
}

void Report::Finish() const {
  if (!print) return;
  const Check* const broken = FirstBroken();
  print("\n");
  print(TellAnswers() + "\n");
  for (const BridgeVerdict& each : bridge) print(each.browser + ", by the bridge: " + Printable(each.verdict) + "\n");
  print((broken ? "The first broken link is the " + broken->name + ". " + broken->remedy : "No link is broken.") +
        "\n");
}

std::string Report::ToJson() const {
  Json list = Json::array();
  for (const Check& check : checks) {
    list.push_back({{"name", check.name}, {"status", Word(check.status)}, {"found", check.found}});
    list.back()["remedy"] = check.remedy;
  }
  Json verdicts = Json::array();
  for (const BridgeVerdict& each : bridge) {
    verdicts.push_back({{"browser", each.browser},
                        {"works", each.works ? Json(*each.works) : Json()},
                        {"verdict", Printable(each.verdict)},
                        {"extension", OrNull(each.extension)},
                        {"host", OrNull(each.host)}});
  }
  const Check* const broken = FirstBroken();
  const std::optional<int32_t> none;
  const Json report{
      {"versions",
       {{"package", KSV_FILE_VERSION}, {"module", KSV_FILE_VERSION}, {"script", kVersion}, {"mimeType", kMimeType}}},
      {"for", OwnKind()},
      {"healthy", !broken},
      {"pluginFound", pluginFound},
      {"zubInit", OrNull(pluginFound ? agentAnswer : none)},
      {"wysInit", OrNull(pluginFound ? displayAnswer : none)},
      {"bridge", verdicts},
      {"firstBroken", broken ? Json(broken->name) : Json()},
      {"checks", list}};
  return report.dump(2) + "\n";
}

}  // namespace NorvoWebAPI::KSV::Doctor
