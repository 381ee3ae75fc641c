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
const char* const kModuleCheck = kWindows ? "registered module" : "module";

// A machine on which all is well: both libraries and an updater that ran just now, and browsers find the module.
class DoctorTest : public testing::Test {
 protected:
  DoctorTest() {
    environment.SetLogLevel(0);
    MakeHealthy();
  }
  ~DoctorTest() override { Registration::UnregisterModule(); }

  void MakeHealthy() {
    if (!kWindows) fs::remove(Scratch("../registry.json"));
    environment.SetLastUpdate(0);
    for (const char* file : {"zub.dll", "ksvWys.dll"}) CopyStub("full", file);
    fs::remove(Scratch("otpZub.dll"));
    environment.SetLibraryFolder(environment.Scratch() / "");
    LetBrowsersFind(fs::path(KSV_MODULE).parent_path());
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
    const int status =
        std::system((KSV_DOCTOR " --timeout 20 " + arguments + " >" + written.string() + " 2>&1").c_str());
    std::ifstream file(written, std::ios::binary);
    output.assign(std::istreambuf_iterator<char>(file), {});
    return status > 255 ? status >> 8 : status;  // Some systems put the exit status there.
  }

  Environment environment;
  platform::ScopedVariable home{"HOME", environment.Scratch().string().c_str()};
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
       [&] {
         const std::string elf("\177ELF\x02", 5);
         WriteScratch("zub.dll",
                      kWindows ? elf : "MZ" + std::string(58, '\0') + std::string("\x40\0\0\0PE\0\0\x64\x86", 10));
       }},
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
      {kModuleCheck, "FAIL", "but no browser plug-in", none, none, [&] {
         CopyStub("full", "zub.dll", fs::path(KSV_MODULE).filename().string()), LetBrowsersFind(environment.Scratch());
       }}};
  const std::vector<Case> windowsAlone{
      {"registration", "FAIL", "Vendor of HKEY_LOCAL_MACHINE\\Software\\MozillaPlugins", 0, 0,
       [] { SetRegistered("Vendor", REG_SZ, "?"); }},
      {"registration", "FAIL", "there is no text Version in", 0, 0,
       [] { SetRegistered("Version", REG_DWORD, "5055"); }},
      {"registration", "FAIL", "ksv-5.0.5 can't be opened (error 2)", 0, 0,
       [] { EXPECT_EQ(RegDeleteKeyA(HKEY_LOCAL_MACHINE, (kPluginKey + kMimeKey).c_str()), ERROR_SUCCESS); }},
      {"registration", "FAIL", "can't be opened", none, none, [] { Registration::UnregisterModule(); }},
      {kModuleCheck, "FAIL", "there is no file", none, none, [&] { LetBrowsersFind(environment.Scratch() / "none"); }},
      {kModuleCheck, "FAIL", "is relative", none, none, [] { Registration::RegisterModule("kit\\"); }}};
  const std::vector<Case> linuxAlone{{"settings file", "FAIL", "registry.json: line 2, column 3: ", 10, 10,
                                      [&] { WriteScratch("../registry.json", "{\n  half"); }},
                                     {"settings file", "FAIL", "registry.json is not there (KSV_REGISTRY names it)", 10,
                                      10, [&] { fs::remove(Scratch("../registry.json")); }},
                                     {"log", "WARN", "its lines go nowhere", 0, 0, [&] { environment.SetLogLevel(3); }},
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
  }
}

TEST_F(DoctorTest, TheProgramPrintsBothFormsAndItsExitStatus) {
  const auto before = environment.Read("lastUpdatewin32-npapi");
  EXPECT_EQ(Run("--json"), 0) << output;
  const json report = json::parse(output);
  EXPECT_EQ(report["healthy"], true);
  for (const json& check : report["checks"]) EXPECT_EQ(check["status"], "PASS") << check;
  EXPECT_EQ(Run(""), 0);
  EXPECT_THAT(output, AllOf(HasSubstr(std::string("PASS  ") + kModuleCheck), HasSubstr("No link is broken")));
  EXPECT_EQ(Run("--help"), 0);
  EXPECT_THAT(output, AllOf(HasSubstr("Exit status"), Not(HasSubstr("--probe"))));
  EXPECT_EQ(Run("--version"), 0);
  EXPECT_THAT(output, HasSubstr("package and module 5.0.9, script"));
  for (const char* wrong : {"--jsn", "--json=x", "x", "--timeout 0"}) EXPECT_EQ(Run(wrong), 2) << wrong;
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
