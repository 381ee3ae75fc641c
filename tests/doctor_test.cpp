// The doctor against a healthy installation and against each link of it broken.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "base/registry_key.h"
#include "installer/doctor/file_facts.h"
#include "installer/doctor/report.h"
#include "registration/registration.h"
#include "tests/support/environment.h"
#include "tests/support/paths.h"

namespace fs = std::filesystem;
namespace Doctor = NorvoWebAPI::KSV::Doctor;
namespace Registration = NorvoWebAPI::KSV::Registration;
using namespace support;
using nlohmann::json;
using testing::HasSubstr;

namespace {

constexpr char kSettings[] = "Software\\Norvo\\Services\\KSV";
const std::string kPluginKey = "Software\\MozillaPlugins\\@norvo.com/Norvo WebAPI ksv;version=5.0.5";
const std::string kMimeKey = "\\MimeTypes\\application/x-vnd-norvo-webapi-ksv-5.0.5";
// Where the settings of the layer are, browsers find modules without a registration too.
const bool kWindows = !platform::kHasLayerSettings;

// A machine on which all is well: both libraries and an updater that ran just now, and the module registered.
class DoctorTest : public testing::Test {
 protected:
  DoctorTest() {
    environment.SetLogLevel(0);
    MakeHealthy();
  }
  ~DoctorTest() override { Registration::UnregisterModule(); }

  void MakeHealthy() const {
    environment.SetLastUpdate(0);
    for (const char* file : {"zub.dll", "ksvWys.dll"}) CopyStub("full", file);
    fs::remove(Scratch("otpZub.dll"));
    environment.SetLibraryFolder(environment.Scratch() / "");
    Register(fs::path(KSV_MODULE).parent_path() / "");
  }
  static void SetRegistered(const char* name, DWORD type, const std::string& bytes) {
    NorvoWebAPI::RegistryKey key;
    ASSERT_EQ(RegOpenKeyExA(HKEY_LOCAL_MACHINE, kPluginKey.c_str(), 0, KEY_SET_VALUE, key.Put()), ERROR_SUCCESS);
    RegSetValueExA(key.Get(), name, 0, type, reinterpret_cast<const BYTE*>(bytes.data()),
                   static_cast<DWORD>(bytes.size()));
  }
  static void Register(const fs::path& folder) { Registration::RegisterModule(PlatformPath(folder)); }
  [[nodiscard]] fs::path Scratch(const std::string& file) const { return environment.Scratch() / file; }
  void WriteScratch(const std::string& file, const std::string& bytes) const {
    std::ofstream(Scratch(file), std::ios::binary | std::ios::trunc) << bytes;
  }
  void CopyStub(const std::string& variant, const std::string& file, const std::string& as = "") const {
    fs::copy_file(fs::path(KSV_STUBS) / variant / file, Scratch(as.empty() ? file : as),
                  fs::copy_options::overwrite_existing);
  }
  // Runs the program itself. What it wrote to its output is left in `output`.
  int Run(const std::string& arguments) {
    const fs::path written = Scratch("output");
    const int status = std::system((KSV_DOCTOR " " + arguments + " >" + written.string() + " 2>&1").c_str());
    std::ifstream file(written, std::ios::binary);
    output.assign(std::istreambuf_iterator<char>(file), {});
    return status > 255 ? status >> 8 : status;  // Some systems put the exit status there.
  }

  Environment environment;
  std::string output;
};

}  // namespace

TEST_F(DoctorTest, AHealthyMachinePassesAllChecks) {
  const json report = json::parse(Doctor::Examine().ToJson());
  EXPECT_EQ(report["healthy"], true);
  EXPECT_EQ(report["checks"].size(), 12u);
  for (const json& check : report["checks"]) EXPECT_EQ(check["status"], "PASS") << check;
}

TEST_F(DoctorTest, EachBrokenLinkIsNamed) {
  const struct {
    const char* link;
    const char* status;
    const char* told;
    int zubInit, wysInit;
    std::function<void()> change;
  } cases[] = {
      {"settings key", "FAIL", "can't be opened", 10, 10, [] { RegDeleteKeyA(HKEY_LOCAL_MACHINE, kSettings); }},
      {"log level", "PASS", "is 3: the log is on", 0, 0, [&] { environment.SetLogLevel(3); }},
      {"library folder in the settings", "FAIL", "is not there", 10, 10,
       [&] { RegDeleteKeyA(HKEY_LOCAL_MACHINE, kSettings), environment.SetLogLevel(0); }},
      {"library folder in the settings", "FAIL", "is no text", 10, 10,
       [&] { environment.SetSetting("FILELOCALE", REG_DWORD, "four"); }},
      {"library folder in the settings", "FAIL", "longer than 127", 10, 10,
       [&] { environment.SetSetting("FILELOCALE", REG_SZ, std::string(size_t{2} * 128, 'a')); }},
      {"library folder in the settings", "WARN", "no separator at its end", 0, 0,
       [&] { environment.SetLibraryFolder(environment.Scratch()); }},
      {"library folder", "FAIL", "none\\ is not there", 10, 10,
       [&] { environment.SetLibraryFolder(environment.Scratch() / "none" / ""); }},
      {"agent library", "FAIL", "no zub.dll or otpZub.dll", 10, 0, [&] { fs::remove(Scratch("zub.dll")); }},
      {"agent library", "FAIL", "is missing or broken", 10, 0, [&] { fs::resize_file(Scratch("zub.dll"), 200); }},
      {"agent library", "WARN", "zub.dll is no library at all", 0, 0,
       [&] { fs::rename(Scratch("zub.dll"), Scratch("otpZub.dll")), WriteScratch("zub.dll", ""); }},
      {"agent's entry points", "WARN", "ZUB3_StartInstance", 0, 0, [&] { CopyStub("first", "zub.dll"); }},
      {"agent's entry points", "FAIL", "ZUB_Init, ZUB_DeInit", 11, 0, [&] { CopyStub("nothing", "zub.dll"); }},
      {"display library", "WARN", "no ksvWys.dll", 0, 10, [&] { fs::remove(Scratch("ksvWys.dll")); }},
      {"display library", "FAIL", "ksvWys.dll is no library", 0, 10, [&] { WriteScratch("ksvWys.dll", "x"); }},
      {"display's entry points", "FAIL", "it lacks WYSRegisterEvents: ", 0, 10,
       [&] { CopyStub("seventeen", "ksvWys.dll"); }},
      {"base folder", "FAIL", "is not there", 17, 0, [&] { fs::remove_all(environment.Path("")); }},
      {"update time", "FAIL", "can't be read", 17, 0, [&] { environment.SetLastUpdate({}); }},
      {"update time", "FAIL", "48 h 0 min old", 17, 0, [&] { environment.SetLastUpdate(172'800); }},
      {"update time", "WARN", "a time to come", 0, 0, [&] { environment.SetLastUpdate(-9'000); }},
      {"update time", "FAIL", "holds no time", 17, 0, [&] { environment.Write("lastUpdatewin32-npapi", "yesterday"); }},
      {"registration", "FAIL", "Vendor of HKEY_LOCAL_MACHINE\\Software\\MozillaPlugins", 0, 0,
       [] { SetRegistered("Vendor", REG_SZ, "?"); }},
      {"registration", "FAIL", "there is no text Version in", 0, 0,
       [] { SetRegistered("Version", REG_DWORD, "5055"); }},
      {"registration", "FAIL", "ksv-5.0.5 can't be opened (error 2)", 0, 0,
       [] { EXPECT_EQ(RegDeleteKeyA(HKEY_LOCAL_MACHINE, (kPluginKey + kMimeKey).c_str()), ERROR_SUCCESS); }},
      {"registration", kWindows ? "FAIL" : "WARN", kWindows ? "can't be opened" : "is not registered", 0, 0,
       [] { Registration::UnregisterModule(); }},
      {"registered module", "FAIL", "there is no file", 0, 0, [&] { Register(environment.Scratch() / "none" / ""); }},
      {"registered module", "FAIL", "is relative", 0, 0, [&] { Register("kit/"); }},
      {"registered module", "FAIL", "but no browser plug-in", 0, 0,
       [&] {
         CopyStub("full", "zub.dll", fs::path(KSV_MODULE).filename().string()), Register(environment.Scratch() / "");
       }},
  };
  for (const auto& [link, status, told, zubInit, wysInit, change] : cases) {
    SCOPED_TRACE(std::string(link) + ": " + told);
    MakeHealthy();
    change();
    const Doctor::Report examined = Doctor::Examine();
    const json report = json::parse(examined.ToJson());
    json check;
    for (const json& each : report["checks"]) check = check.is_null() && each["name"] == link ? each : check;
    const bool fails = std::string(status) == "FAIL";
    ASSERT_NE(check, nullptr);
    EXPECT_EQ(check["status"], status);
    EXPECT_THAT(check["found"].get<std::string>(), HasSubstr(told));
    EXPECT_FALSE(fails && check["remedy"].get<std::string>().empty()) << check;
    EXPECT_EQ(report["healthy"], !fails);
    EXPECT_EQ(report["firstBroken"], fails ? json(link) : json());
    EXPECT_EQ(report["zubInit"], zubInit);
    EXPECT_EQ(report["wysInit"], wysInit);
    const std::string text = examined.ToText();
    EXPECT_THAT(text, HasSubstr(std::string(status) + "  " + link));
    EXPECT_THAT(text, HasSubstr(fails ? "first broken link is the " + std::string(link) : "No link is broken"));
  }
}

TEST_F(DoctorTest, ModuleKindIsReadFromTheFileHeader) {
  std::string windows = "MZ" + std::string(58, '\0') + std::string("\x40\0\0\0", 4) + std::string("PE\0\0", 4);
  const std::string elf = "\177ELF";
  const std::pair<std::string, const char*> cases[] = {{windows + "\x4c\x01", "32-bit Windows"},
                                                       {windows + "\x64\x86", "64-bit Windows"},
                                                       {elf + "\x01", "32-bit Linux"},
                                                       {elf + "\x02", "64-bit Linux"},
                                                       {windows + "\x64\xaa", ""},
                                                       {windows.substr(0, 66), ""},
                                                       {windows.substr(0, 60) + "\xff\xff\xff\xff", ""},
                                                       {elf, ""},
                                                       {"", ""}};
  for (const auto& [bytes, kind] : cases) {
    WriteScratch("file", bytes);
    EXPECT_EQ(Doctor::ModuleKind(PlatformPath(Scratch("file"))), kind);
  }
  EXPECT_EQ(Doctor::ModuleKind(PlatformPath(environment.Scratch())), "") << "a folder";
}

TEST_F(DoctorTest, TheProgramPrintsBothFormsAndItsExitStatus) {
  const auto before = environment.Read("lastUpdatewin32-npapi");
  EXPECT_EQ(Run("--json"), 0) << output;
  EXPECT_EQ(json::parse(output)["healthy"], true);
  EXPECT_EQ(Run(""), 0);
  EXPECT_THAT(output, HasSubstr("PASS  registered module"));
  EXPECT_EQ(Run("--help"), 0);
  EXPECT_THAT(output, HasSubstr("Exit status"));
  for (const char* wrong : {"--jsn", "--json=x", "x"}) EXPECT_EQ(Run(wrong), 2) << wrong;
  {
    const platform::ScopedVariable unset("AppData", nullptr);
    EXPECT_EQ(Run("--json"), 1);
    EXPECT_EQ(json::parse(output)["firstBroken"], "base folder");
  }
  EXPECT_EQ(environment.Read("lastUpdatewin32-npapi"), before);
  const fs::directory_iterator entries(environment.Path(""));
  EXPECT_EQ(std::distance(begin(entries), end(entries)), 1) << "it leaves files behind";
}
