// The doctor against a healthy installation and against each link of it broken.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "base/registry_key.h"
#include "registration/registration.h"
#include "tests/support/environment.h"
#include "tests/support/paths.h"

namespace fs = std::filesystem;
namespace Registration = NorvoWebAPI::KSV::Registration;
using namespace support;
using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;

namespace {

constexpr char kSettings[] = "Software\\Norvo\\Services\\KSV";
const std::string kPluginKey = "Software\\MozillaPlugins\\@norvo.com/Norvo WebAPI ksv;version=5.0.5";
const std::string kMimeKey = "\\MimeTypes\\application/x-vnd-norvo-webapi-ksv-5.0.5";
// Where the layer has the settings, browsers look into folders and not into the registry.
const bool kWindows = !platform::kHasLayerSettings;
// Where the doctor looks for the bridge's parts: registered on Windows, in folders of the machine elsewhere.
const std::string kHost = "com.norvo.ksv";
const std::string kChromiumKey = "SOFTWARE\\Chromium\\NativeMessagingHosts\\" + kHost;
const std::string kFirefoxKey = "SOFTWARE\\Mozilla\\NativeMessagingHosts\\" + kHost;
const std::string kPolicyKey = "SOFTWARE\\Policies\\Chromium\\";
const std::string kSettingsKey = kPolicyKey + "ExtensionSettings\\";
const char* const kModuleCheck = kWindows ? "registered module" : "module";

// Of a 64-bit module for the other system.
const std::string kForeignHeaders = kWindows
                                        ? std::string("\177ELF\x02", 5)
                                        : "MZ" + std::string(58, '\0') + std::string("\x40\0\0\0PE\0\0\x64\x86", 10);

// A machine on which all is well: both libraries and an updater that ran just now, and browsers find the module.
class DoctorTest : public testing::Test {
 protected:
  DoctorTest() {
    environment.SetLogLevel(0);
    MakeHealthy();
  }
  ~DoctorTest() override {
    Registration::UnregisterModule();
    RemoveBridge();
  }

  void MakeHealthy() {
    if (!kWindows) fs::remove(Scratch("../registry.json"));
    environment.SetLastUpdate(0);
    for (const char* file : {"zub.dll", "ksvWys.dll"}) CopyStub("full", file);
    fs::remove(Scratch("otpZub.dll"));
    environment.SetLibraryFolder(environment.Scratch() / "");
    LetBrowsersFind(fs::path(KSV_MODULE).parent_path());
    RemoveBridge();
    MakeBridge();
  }
  void RemoveBridge() const {
    if (kWindows) {
      for (const std::string& key :
           {kChromiumKey, kFirefoxKey, kPolicyKey + "ExtensionInstallForcelist",
            kPolicyKey + "NativeMessagingBlocklist", kSettingsKey + KSV_CHROMIUM_ID, kSettingsKey, kPolicyKey}) {
        RegDeleteKeyA(HKEY_LOCAL_MACHINE, key.c_str());
      }
    }
    fs::remove_all(Scratch("machine"));
    fs::remove_all(Profile("Firefox"));
  }
  // In Chromium, where a policy installs the extension, and in Firefox.
  void MakeBridge() const {
    WriteManifest("Chromium");
    WriteManifest("Firefox");
    SetPolicy("ExtensionInstallForcelist", KSV_CHROMIUM_ID ";file:///update.xml");
    WriteFile(Profile("Chromium") / "Extensions" / KSV_CHROMIUM_ID / "5.0.9_0/manifest.json",
              R"({"version": "5.0.9"})");
    WriteAddon(true);
  }
  [[nodiscard]] fs::path Profile(const std::string& browser) const {
    if (browser == "Chromium")
      return Scratch(kWindows ? "machine/Chromium/User Data/Default" : "machine/chromium/Default");
    return kWindows ? fs::path(std::getenv("AppData")) / "Mozilla/Firefox/Profiles/p"
                    : Scratch("machine/.mozilla/firefox/p");
  }
  [[nodiscard]] fs::path Manifest(const std::string& browser) const {
    if (kWindows) return Scratch("machine/" + browser + ".json");
    return Scratch("machine") / (browser == "Chromium" ? "etc/chromium" : ".mozilla") /
           "native-messaging-hosts/com.norvo.ksv.json";
  }
  static void WriteFile(const fs::path& path, const std::string& bytes) {
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << bytes;
  }
  // A native manifest that is in order but for these members.
  void WriteManifest(const std::string& browser, const json& changed = json::object()) const {
    json manifest{{"name", kHost}, {"type", "stdio"}, {"path", KSV_BRIDGE}};
    if (browser == "Chromium") manifest["allowed_origins"] = {"chrome-extension://" KSV_CHROMIUM_ID "/"};
    if (browser == "Firefox") manifest["allowed_extensions"] = {KSV_FIREFOX_ID};
    manifest.update(changed);
    WriteFile(Manifest(browser), manifest.dump());
    if (kWindows) SetKey(browser == "Chromium" ? kChromiumKey : kFirefoxKey, "", Manifest(browser).string());
  }
  // A policy of Chromium's, a list of one.
  void SetPolicy(const std::string& name, const std::string& entry) const {
    if (kWindows) return SetKey(kPolicyKey + name, "1", entry);
    WriteFile(Scratch("machine/etc/chromium/policies/managed/" + name + ".json"), json{{name, {entry}}}.dump());
  }
  // Chromium's policy for single extensions.
  void SetExtensionSettings(const json& settings) const {
    if (kWindows) return SetKey(kPolicyKey, "ExtensionSettings", settings.dump());
    WriteFile(Scratch("machine/etc/chromium/policies/managed/settings.json"),
              json{{"ExtensionSettings", settings}}.dump());
  }
  void WriteAddon(bool isActive, const std::string& version = "5.0.9") const {
    const json addon{{"id", KSV_FIREFOX_ID}, {"version", version}, {"active", isActive}};
    WriteFile(Profile("Firefox") / "extensions.json", json{{"addons", {{{"id", 7}}, addon}}}.dump());
  }
  // A host in a folder of its own; what lies beside it as its module is another file.
  void MoveHost(const std::string& browser, const fs::path& module, uintmax_t size = 0) const {
    const fs::path host = Scratch("machine") / fs::path(KSV_BRIDGE).filename();
    fs::copy_file(KSV_BRIDGE, host);
    if (size) fs::resize_file(host, size);
    if (!module.empty()) fs::copy_file(module, Scratch("machine") / fs::path(KSV_MODULE).filename());
    WriteManifest(browser, {{"path", host.string()}});
  }
  static void SetKey(const std::string& name, const std::string& value, const std::string& text) {
    NorvoWebAPI::RegistryKey key;
    ASSERT_EQ(RegCreateKeyExA(HKEY_LOCAL_MACHINE, name.c_str(), 0, nullptr, REG_OPTION_NON_VOLATILE, KEY_SET_VALUE,
                              nullptr, key.Put(), nullptr),
              ERROR_SUCCESS);
    RegSetValueExA(key.Get(), value.c_str(), 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                   static_cast<DWORD>(text.size() + 1));
  }
  static void SetRegistered(const char* name, DWORD type, const std::string& bytes) {
    NorvoWebAPI::RegistryKey key;
    ASSERT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, kPluginKey.c_str(), 0, KEY_SET_VALUE, key.Put()), ERROR_SUCCESS);
    RegSetValueExA(key.Get(), name, 0, type, reinterpret_cast<const BYTE*>(bytes.data()),
                   static_cast<DWORD>(bytes.size()));
  }
  void LetBrowsersFind(const fs::path& folder) {
    if (kWindows) Registration::RegisterModule(PlatformPath(folder / ""));
    plugins.emplace("MOZ_PLUGIN_PATH", folder.string().c_str());
  }
  [[nodiscard]] fs::path Scratch(const std::string& file) const { return environment.Scratch() / file; }
  void WriteScratch(const std::string& file, const std::string& bytes) const {
    std::ofstream(Scratch(file), std::ios::binary | std::ios::trunc) << bytes;
  }
  void CopyStub(const std::string& variant, const std::string& file, const std::string& as = "") const {
    fs::copy_file(fs::path(KSV_STUBS) / variant / file, Scratch(as.empty() ? file : as),
                  fs::copy_options::overwrite_existing);
  }
  // Runs the program. What it wrote to its output is left in `output`.
  int Run(const std::string& arguments) {
    const fs::path written = Scratch("output");
    const int status = std::system((KSV_DOCTOR " --timeout 20 --root " + Scratch("machine").string() + " " + arguments +
                                    " >" + written.string() + " 2>&1")
                                       .c_str());
    std::ifstream file(written, std::ios::binary);
    output.assign(std::istreambuf_iterator<char>(file), {});
    return status > 255 ? status >> 8 : status;  // Some systems put the exit status there.
  }

  Environment environment;
  platform::ScopedVariable home{"HOME", Scratch("machine").string().c_str()};
  platform::ScopedVariable configuration{kWindows ? "LOCALAPPDATA" : "XDG_CONFIG_HOME",
                                         Scratch("machine").string().c_str()};
  std::optional<platform::ScopedVariable> plugins;
  std::string output;
};

// Holds a value against those words of a schema that docs/doctor.schema.json uses.
void ExpectFits(const json& value, const json& schema) {
  const json types = schema["type"].is_array() ? schema["type"] : json::array({schema["type"]});
  const std::string type = value.is_number_integer() ? "integer" : value.type_name();
  ASSERT_TRUE(std::ranges::count(types, json(type))) << value << " in " << schema;
  if (schema.contains("enum")) {
    EXPECT_TRUE(std::ranges::count(schema["enum"], value)) << value;
  }
  if (value.is_array()) std::ranges::for_each(value, [&](const json& item) { ExpectFits(item, schema["items"]); });
  if (!value.is_object()) return;
  for (const json& name : schema["required"]) EXPECT_TRUE(value.contains(name)) << name;
  for (const auto& [name, member] : value.items()) ExpectFits(member, schema["properties"].at(name));
}

}  // namespace

TEST_F(DoctorTest, EachBrokenLinkIsNamed) {
  const json none;
  struct Case {
    const char* link;
    const char* status;
    const char* told;
    json zubInit, wysInit;
    std::function<void()> change;
    const char* arguments = "--json";
  };
  const auto withdrawPolicy = [&] {
    fs::remove_all(Scratch("machine/etc/chromium/policies"));
    RegDeleteKeyA(HKEY_LOCAL_MACHINE, (kPolicyKey + "ExtensionInstallForcelist").c_str());
  };
  std::vector<Case> cases{
      {"settings key", "FAIL", "can't be opened", 10, 10, [] { RegDeleteKeyA(HKEY_LOCAL_MACHINE, kSettings); }},
      {"log", "PASS", "is 3: the log is on", 0, 0, [&] { environment.SetLogLevel(3); }},
      {"library folder in the settings", "FAIL", "is not there", 10, 10,
       [&] { RegDeleteKeyA(HKEY_LOCAL_MACHINE, kSettings), environment.SetLogLevel(0); }},
      {"library folder in the settings", "FAIL", "is no text", 10, 10,
       [&] { environment.SetSetting("FILELOCALE", REG_DWORD, "four"); }},
      {"library folder in the settings", "FAIL", "longer than 127", 10, 10,
       [&] { environment.SetSetting("FILELOCALE", REG_SZ, std::string(size_t{2} * 128, 'a')); }},
      {"library folder in the settings", "WARN", "no separator at its end", 0, 0,
       [&] { environment.SetLibraryFolder(environment.Scratch()); }},
      {"library folder", "FAIL", kWindows ? "none\\ is not there" : "none/ is not there", 10, 10,
       [&] { environment.SetLibraryFolder(environment.Scratch() / "none" / ""); }},
      {"agent library", "FAIL", "no zub.dll or otpZub.dll", 10, 0, [&] { fs::remove(Scratch("zub.dll")); }},
      {"agent library", "FAIL", "is cut off: it has 200 of the", 10, 0,
       [&] { fs::resize_file(Scratch("zub.dll"), 200); }},
      {"agent library", "FAIL", "browsers crash with it", none, 0, [&] { CopyStub("aborting", "zub.dll"); }},
      {"agent library", "FAIL", "isn't loaded within 3 s", none, 0, [&] { CopyStub("sleeping", "zub.dll"); },
       "--json --timeout 3"},
      {"agent library", "FAIL", "isn't loaded within 3 s", none, 0, [&] { CopyStub("closing", "zub.dll"); },
       "--json --timeout 3"},
      {"agent library", "FAIL", kWindows ? "is a 64-bit Linux library" : "is a 64-bit Windows library", 10, 0,
       [&] { WriteScratch("zub.dll", kForeignHeaders); }},
      {"agent library", "WARN", "zub.dll is empty", 0, 0,
       [&] { fs::rename(Scratch("zub.dll"), Scratch("otpZub.dll")), WriteScratch("zub.dll", ""); }},
      {"agent's entry points", "WARN", "ZUB3_StartInstance", 0, 0, [&] { CopyStub("first", "zub.dll"); }},
      {"agent's entry points", "FAIL", "ZUB_Init, ZUB_DeInit", 11, 0, [&] { CopyStub("nothing", "zub.dll"); }},
      {"display library", "WARN", "no ksvWys.dll", 0, 10, [&] { fs::remove(Scratch("ksvWys.dll")); }},
      {"display library", "FAIL", "ksvWys.dll is no library", 0, 10, [&] { WriteScratch("ksvWys.dll", "a text"); }},
      {"display's entry points", "FAIL", "it lacks WYSRegisterEvents: ", 0, 10,
       [&] { CopyStub("seventeen", "ksvWys.dll"); }},
      {"base folder", "FAIL", "is not there", 17, 0, [&] { fs::remove_all(environment.Path("")); }},
      {"update time", "FAIL", "win32-npapi is not there", 17, 0, [&] { environment.SetLastUpdate({}); }},
      {"update time", "FAIL", "48 h 0 min old", 17, 0, [&] { environment.SetLastUpdate(172'800); }},
      {"update time", "WARN", "a time to come", 0, 0, [&] { environment.SetLastUpdate(-9'000); }},
      {"update time", "FAIL", "holds \"yester\\x1Bday\", which is no time", 17, 0,
       [&] {
         environment.Write("lastUpdatewin32-npapi",
                           "yester\x1B"
                           "day");
       }},
      {kModuleCheck, "FAIL", "but no browser plug-in", none, none,
       [&] {
         CopyStub("full", "zub.dll", fs::path(KSV_MODULE).filename().string()), LetBrowsersFind(environment.Scratch());
       }},
      {"Chromium: native manifest", "FAIL", kWindows ? kChromiumKey.c_str() : "/etc/chromium/native-messaging-hosts", 0,
       0, [&] { fs::remove(Manifest("Chromium")), RegDeleteKeyA(HKEY_LOCAL_MACHINE, kChromiumKey.c_str()); }},
      {"Chromium: native manifest", "FAIL", ".json: line 2, column 3: ", 0, 0,
       [&] { WriteFile(Manifest("Chromium"), "{\n  half"); }},
      {"Chromium: native manifest", "FAIL", "its name is \"\\x1B\", not \"com.norvo.ksv\"", 0, 0,
       [&] {
         WriteManifest("Chromium", {{"name", "\x1B"}});
       }},
      {"Firefox: native manifest", "FAIL", "its type is \"\", not", 0, 0,
       [&] {
         WriteManifest("Firefox", {{"type", json::array()}});
       }},
      {"Firefox: native manifest", "FAIL", "its allowed_extensions do not have ksv@norvo.example", 0, 0,
       [&] {
         WriteManifest("Firefox", {{"allowed_extensions", "ksv@norvo.example"}});
       }},
      {kWindows ? "Chromium: native host" : "Chromium: native manifest", "FAIL",
       kWindows ? "there is no file" : "is not absolute", 0, 0,
       [&] {
         WriteManifest("Chromium", {{"path", "up/host"}});
       }},
      {"Firefox: native host", "FAIL", "is no program", 0, 0,
       [&] {
         WriteManifest("Firefox", {{"path", Manifest("Firefox").string()}});
       }},
      {"Chromium: native host", "FAIL", "is cut off: it has 4096 of the", 0, 0,
       [&] { MoveHost("Chromium", "", 4096); }},
      {"Chromium: native host", "FAIL", "the module beside it is for 64-bit", 0, 0,
       [&] { WriteScratch("other", kForeignHeaders), MoveHost("Chromium", Scratch("other")); }},
      {"Chromium: extension", "FAIL", "no profile of this user has the extension", 0, 0,
       [&] { fs::remove_all(Profile("Chromium")), withdrawPolicy(); }},
      {"Chromium: extension", "WARN", "no profile of this user has it yet", 0, 0,
       [&] { fs::remove_all(Profile("Chromium") / "Extensions"); }},
      {"Chromium: extension", "FAIL", "is switched off", 0, 0,
       [&] {
         WriteFile(Profile("Chromium") / "Preferences",
                   json{{"extensions", {{"settings", {{KSV_CHROMIUM_ID, {{"disable_reasons", {1}}}}}}}}}.dump());
       }},
      {"Firefox: extension", "FAIL", "version 5.0.9 in ", 0, 0, [&] { WriteAddon(false); }},
      {"Firefox: extension", "WARN", "version 5.0.4 in ", 0, 0, [&] { WriteAddon(true, "5.0.4"); }},
      {"Chromium: policy", "WARN", "none installs the extension", 0, 0, withdrawPolicy},
      {"Chromium: policy", "FAIL", "forbids com.norvo.ksv", 0, 0, [&] { SetPolicy("NativeMessagingBlocklist", "*"); }},
      {"Chromium: policy", "FAIL", "ExtensionSettings in ", 0, 0,
       [&] {
         SetExtensionSettings({{KSV_CHROMIUM_ID, {{"installation_mode", "removed"}}}});
       }},
      {"Chromium: host's answer", "FAIL", "ends without an answer (exit status 2)", 0, 0,
       [&] {
         WriteManifest("Chromium", {{"path", KSV_DOCTOR}});
       }},
      {"Chromium: module in the host", "FAIL", "Install the plug-in again", 0, 0, [&] { MoveHost("Chromium", ""); }},
      {"Firefox: module in the host", "FAIL", "ends without an answer (", 0, 0,
       [&] { MoveHost("Firefox", fs::path(KSV_STUBS) / "aborting/zub.dll"); }},
      {"Firefox: module in the host", "FAIL", "does not answer within 3 s", 0, 0,
       [&] { MoveHost("Firefox", fs::path(KSV_STUBS) / "sleeping/zub.dll"); }, "--json --timeout 3"},
      {"Firefox: extension", kWindows ? "FAIL" : "WARN", "no profile of this user has", 0, 0,
       [&] {
         fs::remove_all(Profile("Firefox"));
         WriteFile(Scratch("machine/usr/share/mozilla/extensions/{ec8030f7-c20a-464f-9b0e-13a3a9e97384}/" KSV_FIREFOX_ID
                           ".xpi"),
                   "");
       }},
      {"bridge", "PASS", "it is not installed", 0, 0, [&] { RemoveBridge(); }}};
  const std::vector<Case> windowsAlone{
      {"registration", "FAIL", "Vendor of HKEY_LOCAL_MACHINE\\Software\\MozillaPlugins", 0, 0,
       [] { SetRegistered("Vendor", REG_SZ, "?"); }},
      {"registration", "FAIL", "there is no text Version in", 0, 0,
       [] { SetRegistered("Version", REG_DWORD, "5055"); }},
      {"registration", "FAIL", "ksv-5.0.5 can't be opened (error 2)", 0, 0,
       [] { EXPECT_EQ(RegDeleteKeyA(HKEY_LOCAL_MACHINE, (kPluginKey + kMimeKey).c_str()), ERROR_SUCCESS); }},
      {"registration", "FAIL", "can't be opened", none, none, [] { Registration::UnregisterModule(); }},
      {"Chromium: policy", "FAIL", "ExtensionSettings in HKEY_LOCAL_MACHINE", 0, 0,
       [] { SetKey(kSettingsKey + KSV_CHROMIUM_ID, "installation_mode", "blocked"); }},
      {"Chromium: policy", "FAIL", "ExtensionSettings of HKEY_LOCAL_MACHINE\\SOFTWARE\\Policies\\Chromium: line 1", 0,
       0, [] { SetKey(kPolicyKey, "ExtensionSettings", "{"); }},
      {kModuleCheck, "FAIL", "there is no file", none, none, [&] { LetBrowsersFind(environment.Scratch() / "none"); }},
      {kModuleCheck, "FAIL", "is relative", none, none, [] { Registration::RegisterModule("kit\\"); }}};
  const std::vector<Case> linuxAlone{
      {"settings file", "FAIL", "registry.json: line 2, column 3: ", 10, 10,
       [&] { WriteScratch("../registry.json", "{\n  half"); }},
      {"settings file", "FAIL", "registry.json is not there (KSV_REGISTRY names it)", 10, 10,
       [&] { fs::remove(Scratch("../registry.json")); }},
      {"log", "WARN", "its lines go nowhere", 0, 0, [&] { environment.SetLogLevel(3); }},
      {"Chromium: policy", "FAIL", "x.json: line 1, column 1: ", 0, 0,
       [&] { WriteFile(Scratch("machine/etc/chromium/policies/managed/x.json"), ""); }},
      {"Firefox: policy", "FAIL", "number overflow", 0, 0,
       [&] { WriteFile(Scratch("machine/etc/firefox/policies/policies.json"), "1e999"); }},
      {"browsers' plug-in folders", "FAIL", "/none, ", none, none,
       [&] { LetBrowsersFind(environment.Scratch() / "none"); }}};
  if (!kWindows) std::erase_if(cases, [](const Case& each) { return std::string(each.link) == "log"; });
  const auto& system = kWindows ? windowsAlone : linuxAlone;
  cases.insert(cases.end(), system.begin(), system.end());
  std::ifstream file(KSV_SOURCES "/docs/doctor.schema.json");
  const json schema = json::parse(file);
  for (const auto& [link, status, told, zubInit, wysInit, change, arguments] : cases) {
    SCOPED_TRACE(std::string(link) + ": " + told);
    MakeHealthy();
    change();
    const bool fails = std::string(status) == "FAIL";
    ASSERT_EQ(Run(arguments), fails ? 1 : 0) << output;
    const json report = json::parse(output);
    ExpectFits(report, schema);
    json check;
    for (const json& each : report["checks"]) check = check.is_null() && each["name"] == link ? each : check;
    ASSERT_NE(check, nullptr) << output;
    EXPECT_EQ(check["status"], status);
    EXPECT_THAT(check["found"].get<std::string>(), HasSubstr(told));
    EXPECT_FALSE(fails && check["remedy"].get<std::string>().empty()) << check;
    EXPECT_EQ(report["firstBroken"], fails ? json(link) : json());
    EXPECT_EQ(report["zubInit"], zubInit);
    EXPECT_EQ(report["wysInit"], wysInit);
    for (const json& browser : report["bridge"]) {
      // A check of a browser's bears its name. A library that ends or stops whoever loads it does so in each host too.
      const std::string own = browser["browser"].get<std::string>() + ": ";
      const bool isOwn = fails && std::string(link).starts_with(own);
      const bool isEnded = zubInit.is_null() && !wysInit.is_null();
      EXPECT_EQ(browser["works"], !isOwn && !isEnded) << browser;
      EXPECT_THAT(browser["verdict"].get<std::string>(), HasSubstr(isOwn     ? link + own.size()
                                                                   : isEnded ? "module in the host"
                                                                             : "pages get"));
    }
    EXPECT_EQ(report["bridge"].size(), std::string(link) == "bridge" ? 0 : 2) << output;
  }
}

TEST_F(DoctorTest, TheProgramPrintsBothFormsAndItsExitStatus) {
  const auto before = environment.Read("lastUpdatewin32-npapi");
  EXPECT_EQ(Run("--json"), 0) << output;
  const json report = json::parse(output);
  EXPECT_EQ(report["healthy"], true);
  for (const json& check : report["checks"]) EXPECT_EQ(check["status"], "PASS") << check;
  EXPECT_EQ(Run(""), 0);
  EXPECT_THAT(output, AllOf(HasSubstr(std::string("PASS  ") + kModuleCheck), HasSubstr("No link is broken"),
                            HasSubstr("Chromium, by the bridge: pages get the plug-in"),
                            HasSubstr("Firefox, by the bridge: pages get the plug-in")));
  EXPECT_EQ(Run("--help"), 0);
  EXPECT_THAT(output, AllOf(HasSubstr("Exit status"), Not(HasSubstr("--probe"))));
  EXPECT_EQ(Run("--version"), 0);
  EXPECT_THAT(output, HasSubstr("package and module 5.0.9, script"));
  for (const char* wrong : {"--jsn", "--json=x", "x", "--timeout 0", "--timeout 3601"}) {
    EXPECT_EQ(Run(wrong), 2) << wrong;
  }
  {
    const platform::ScopedVariable unset("AppData", nullptr);
    EXPECT_EQ(Run(""), 1);
    EXPECT_THAT(output, AllOf(HasSubstr("A page gets 17 from zubInit and 0 from wysInit (0: the library is called)."),
                              HasSubstr("The first broken link is the base folder. ")));
  }
  EXPECT_EQ(environment.Read("lastUpdatewin32-npapi"), before);
  const fs::directory_iterator entries(environment.Path(""));
  EXPECT_EQ(std::distance(begin(entries), end(entries)), 1) << "it leaves files behind";
}
