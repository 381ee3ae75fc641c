#include <filesystem>
#include <optional>
#include <utility>

#include "base/product.h"
#include "installer/doctor/bridge_browsers.h"
#include "installer/doctor/checks.h"
#include "installer/doctor/extension_facts.h"
#include "installer/doctor/file_facts.h"
#include "installer/doctor/host_talk.h"
#include "installer/doctor/json_text.h"
#include "installer/doctor/system.h"
#include "installer/doctor/texts.h"

namespace NorvoWebAPI::KSV::Doctor {
namespace {

constexpr char kReinstall[] = "Install the plug-in again, with its part for this browser.";

// A browser, and what the links before have found in it.
struct Examined {
  const BridgeBrowser& browser;
  const Prober& prober;
  std::string id;
  Extension extension;
  std::string forcedBy{};  // The place of the policy that installs the extension.
  std::string host{};      // The path that the manifest names; empty unless it is a program that can be started.
  HostTalk talk{};
};

struct Finding {
  Status status;
  std::string found;
  std::string remedy{};
};

using MaybeFinding = std::optional<Finding>;  // Nothing: there is nothing to look at.

Finding Broken(const std::string& found, const std::string& remedy = kReinstall) {
  return {Status::Fail, found, remedy};
}

std::string TellPolicy(const Policies& policies, const std::string& name) {
  return name + " in " + ShowPath(policies.places.at(name));
}

// --- The links ------------------------------------------------------------------------------------------------------

// The extension as the browser names it to the host, and in the native manifest.
std::string CallerOf(const Examined& examined) {
  return examined.browser.isFirefox ? examined.id : "chrome-extension://" + examined.id + "/";
}

MaybeFinding ExamineManifest(Examined& examined) {
  const BridgeBrowser& browser = examined.browser;
  if (browser.manifest.empty()) return Broken(std::string("there is no ") + kHostName + " in " + browser.searched);
  const auto [manifest, problem] = ReadJsonFile(browser.manifest);
  if (!problem.empty()) return Broken(problem);
  const std::string shown = ShowPath(browser.manifest);
  if (!manifest.is_object()) return Broken(shown + " holds no JSON object");
  for (const auto& [name, value] : {std::pair{"name", kHostName}, {"type", "stdio"}}) {
    if (MemberOf(manifest, name) == value) continue;
    return Broken(shown + ": its " + name + " is \"" + TextOf(manifest, name) + "\", not \"" + value + "\"");
  }
  const char* const list = browser.isFirefox ? "allowed_extensions" : "allowed_origins";
  const std::string allowed = CallerOf(examined);
  if (!Lists(MemberOf(manifest, list), allowed)) {
    return Broken(shown + ": its " + list + " do not have " + allowed + ", the plug-in's extension");
  }
  const std::string named = TextOf(manifest, "path");
  const std::filesystem::path path = PathOf(named);
  if (named.empty() || (!path.is_absolute() && !kHostMayBeRelative)) {
    return Broken(shown + ": its path \"" + named + "\" is not absolute");
  }
  examined.host = NarrowOf((PathOf(browser.manifest).parent_path() / path).lexically_normal());
  return Finding{Status::Pass, shown + " is in order"};
}

// The system of a kind of module, "Windows" or "Linux".
std::string SystemOf(const std::string& kind) {
  return kind.substr(kind.find(' ') + 1);
}

// Of the module that a host loads: the one beside it, or one folder above. Empty when there is none.
std::string KindOfModule(const std::filesystem::path& host) {
  const std::string file = std::string(KSV_MODULE_NAME) + (SystemOf(OwnKind()) == "Windows" ? ".dll" : ".so");
  for (const std::filesystem::path& folder : {host.parent_path(), host.parent_path().parent_path()}) {
    const std::string path = NarrowOf(folder / file);
    if (FindFile(path) == Presence::There) return ReadModuleFacts(path).kind;
  }
  return {};
}

MaybeFinding ExamineHost(Examined& examined) {
  if (examined.host.empty()) return {};
  const std::string path = std::exchange(examined.host, "");
  const std::string shown = ShowPath(path);
  const Presence presence = FindFile(path);
  if (presence == Presence::Missing) return Broken("there is no file " + shown);
  if (presence == Presence::Denied) return Broken(shown + " can't be read by this user");
  const ModuleFacts facts = ReadModuleFacts(path);
  if (facts.kind.empty()) return Broken(shown + (facts.size == 0 ? " is empty" : " is no program"));
  if (const std::string cutOff = WhyCutOff(facts); !cutOff.empty()) return Broken(shown + " " + cutOff);
  const std::string kind = shown + " is a " + facts.kind + " program";
  const std::string module = KindOfModule(PathOf(path));
  if (!module.empty() && module != facts.kind) return Broken(kind + ", and the module beside it is for " + module);
  if (SystemOf(facts.kind) != SystemOf(OwnKind())) return Broken(kind);
  examined.host = path;
  if (facts.kind == OwnKind()) return Finding{Status::Pass, kind};
  return Finding{
      Status::Warn, kind + ":",
      "settings and libraries were looked at for " + std::string(OwnKind()) + ". Run the other ksv-doctor too."};
}

// A part of the bridge by its version.
Finding OfVersion(const std::string& version, const std::string& found) {
  if (version == KSV_FILE_VERSION) return {Status::Pass, found};
  return {Status::Warn, found + ", and this doctor is of " KSV_FILE_VERSION ":", "install all from one package."};
}

MaybeFinding ExamineExtension(Examined& examined) {
  const Extension& extension = examined.extension;
  if (extension.place.empty()) {
    if (!examined.forcedBy.empty()) {
      return Finding{Status::Warn,
                     "no profile of this user has it yet:", "the policy brings it when the browser starts."};
    }
    return Broken("no profile of this user has the extension " + examined.id,
                  "Install the extension in the browser, or let a policy install it.");
  }
  const std::string found = "version " + extension.version + " in " + ShowPath(extension.place);
  if (!extension.isOn) return Broken(found + " is switched off", "Switch it on in the browser's list of extensions.");
  return OfVersion(extension.version, found);
}

MaybeFinding ExaminePolicy(Examined& examined) {
  const Policies& policies = examined.browser.policies;
  if (!policies.problem.empty()) {
    return Broken(policies.problem, "Correct it: the browser reads no policy from it.");
  }
  if (const std::string ban = FindBlockingPolicy(policies, examined.id); !ban.empty()) {
    const std::string name = ban == kHostBlocklist ? kHostName : examined.id;
    return Broken(TellPolicy(policies, ban) + " forbids " + name, "Take " + name + " out of that policy.");
  }
  if (!examined.forcedBy.empty()) return Finding{Status::Pass, examined.forcedBy + " installs the extension"};
  const std::string none = "none installs the extension";
  if (examined.browser.isFirefox) return Finding{Status::Pass, none + "; the browser needs none"};
  return Finding{Status::Warn, none + ":", "the browser asks for each answer again and again, and is busy meanwhile."};
}

MaybeFinding ExamineAnswer(Examined& examined) {
  if (examined.host.empty()) return {};
  std::vector<std::string> arguments{ToUtf8(examined.host)};
  if (examined.browser.isFirefox) arguments.push_back(ToUtf8(examined.browser.manifest));
  arguments.push_back(CallerOf(examined));
  examined.talk = TalkToHost(arguments, examined.prober.Limit());
  const HostTalk& talk = examined.talk;
  if (!talk.answers) return Broken("it " + talk.problem);
  return OfVersion(talk.version, "it answers, version " + talk.version);
}

MaybeFinding ExamineInstance(Examined& examined) {
  if (!examined.talk.answers) return {};
  if (examined.talk.makesInstance) return Finding{Status::Pass, "a page's element gets an instance"};
  // The module loads the vendor's libraries at once.
  return Broken("asked for an instance, the host " + examined.talk.problem,
                "Mend the module and the libraries if they fail too; else install the plug-in again.");
}

struct Link {
  const char* name;
  MaybeFinding (*examine)(Examined&);
};

// In the order in which a call needs them, where one leads to the next.
constexpr Link kLinks[] = {{"native manifest", ExamineManifest}, {"native host", ExamineHost},
                           {"extension", ExamineExtension},      {"policy", ExaminePolicy},
                           {"host's answer", ExamineAnswer},     {"module in the host", ExamineInstance}};

// Looks at all links of a browser that has one of them.
BridgeVerdict ExamineLinks(Report& report, Examined& examined) {
  const std::string& browser = examined.browser.name;
  std::string verdict;
  for (const Link& link : kLinks) {
    const MaybeFinding finding = link.examine(examined);
    if (!finding) continue;
    report.Add(browser + ": " + link.name, finding->status, finding->found, finding->remedy);
    if (finding->status != Status::Fail || !verdict.empty()) continue;
    verdict =
        std::string("pages don't get the plug-in. The first broken link is the ") + link.name + ". " + finding->remedy;
  }
  const bool works = verdict.empty();
  return {browser, works, works ? "pages get the plug-in" : verdict, examined.extension.version, examined.talk.version};
}

}  // namespace

void ExamineBridge(Report& report, const Prober& prober, const std::string& root) {
  bool isThere = false;
  for (const BridgeBrowser& browser : FindBridgeBrowsers(root)) {
    const std::string id = ExtensionId(browser.isFirefox);
    Examined examined{browser, prober, id, FindExtension(browser, id)};
    const std::string force = FindForcingPolicy(browser.policies, id);
    if (!force.empty()) examined.forcedBy = TellPolicy(browser.policies, force);
    if (!browser.manifest.empty() || !examined.extension.place.empty() || !force.empty()) {
      report.bridge.push_back(ExamineLinks(report, examined));
      isThere = true;
    } else if (IsInstalled(browser)) {
      report.bridge.push_back({browser.name, {}, "the bridge is not installed for it", "", ""});
    }
  }
  if (!isThere) report.Pass("bridge", "it is not installed; browsers that load plug-ins need none");
}

}  // namespace NorvoWebAPI::KSV::Doctor
