// The registration by which browsers find the plug-in: the module's four exports, the tree that they write and take
// away, and the check that tells what is wrong with it.
#include "registration/registration.h"

#include <gtest/gtest.h>

#include <functional>

#include "shell/exports.h"
#include "tests/support/environment.h"
#include "tests/support/paths.h"

using namespace NorvoWebAPI::KSV::Registration;
using namespace std::string_literals;
using platform::FailCall;
using platform::InstallerProperty;
using platform::kHasLayerSettings;

namespace {

const std::string kOwnKey = "Software\\MozillaPlugins\\@norvo.com/Norvo WebAPI ksv;version=5.0.5";
const std::string kOther = "Software\\MozillaPlugins\\@other.example/Norvo WebAPI ksv";
const std::string kScratch = "Software\\Norvo\\RegistrationTest";
const std::string kMimeKey = "MimeTypes\\application/x-vnd-norvo-webapi-ksv-5.0.5";
const std::string kFileName = std::filesystem::path(KSV_MODULE).filename().string();
constexpr const char* kValueNames[] = {"ShortName", "Description", "Path", "ProductName", "Vendor", "Version"};

HKEY MakeKey(const std::string& name, HKEY parent = HKEY_LOCAL_MACHINE) {
  HKEY key = nullptr;
  EXPECT_EQ(RegCreateKeyExA(parent, name.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr), 0) << name;
  return key;
}

void SetValue(const std::string& key, const char* name, DWORD type, const std::string& bytes) {
  const HKEY opened = MakeKey(key);
  EXPECT_EQ(RegSetValueExA(opened, name, 0, type, reinterpret_cast<const BYTE*>(bytes.c_str()),
                           static_cast<DWORD>(bytes.size())),
            0);
  RegCloseKey(opened);
}

// A key's texts and its sub keys, as in "ShortName=ksv|Path=x|MimeTypes{}"; "none" for no key.
std::string Show(const std::string& name) {
  HKEY key = nullptr;
  if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, name.c_str(), 0, KEY_READ, &key) != ERROR_SUCCESS) return "none";
  std::string shown;
  for (const char* value : kValueNames) {
    std::string text;
    if (ReadText(name, value, text) == ERROR_SUCCESS) shown += value + "="s + text + "|";
  }
  char subKey[256];
  for (DWORD index = 0, size = sizeof subKey;
       RegEnumKeyExA(key, index, subKey, &size, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
       ++index, size = sizeof subKey) {
    shown += subKey + "{"s + Show(name + "\\" + subKey) + "}";
  }
  RegCloseKey(key);
  return shown;
}

std::string Tree(const std::string& path) {
  return "ShortName=ksv|Description=Norvo KSV WebApi plugin|Path=" + path +
         "|ProductName=ksv|Vendor=Norvo|Version=5.0.5|MimeTypes{application/x-vnd-norvo-webapi-ksv-5.0.5{}}";
}

std::string Show(const std::vector<Difference>& differences) {
  std::string shown;
  for (const Difference& it : differences) {
    EXPECT_TRUE(it.key.starts_with(kOwnKey)) << it.key;
    shown += it.key.substr(kOwnKey.size()) + ":" + it.value + " " + std::to_string(it.error) + " " + it.found + "/" +
             it.expected + "\n";
  }
  return shown;
}

class RegistrationTest : public testing::Test {
 protected:
  RegistrationTest() { Clear(); }
  ~RegistrationTest() override { Clear(); }
  static void Clear() {
    for (const std::string& key : {kOwnKey, kOther, kScratch}) DeleteKeyTree(HKEY_LOCAL_MACHINE, key.c_str());
  }

  support::Environment environment;
};

}  // namespace

TEST_F(RegistrationTest, TheFolderMakesThePath) {
  EXPECT_EQ(RegisterNPAPIPluginWithPath(nullptr), 1u);
  EXPECT_EQ(Show(kOwnKey), "none");
  // Each registers over the one before.
  const std::string longFolder = "C:\\" + std::string(5000, 'f') + "\\";
  for (const std::string& folder : {"C:\\Program Files\\Norvo\\"s, "C:\\Program Files\\Norvo\\"s, "C:\\Norvo"s, ""s,
                                    longFolder, "\\\\server\\share/a;b=%x%\\"s}) {
    EXPECT_EQ(RegisterNPAPIPluginWithPath(folder.c_str()), 0u) << folder;
    EXPECT_EQ(Show(kOwnKey), Tree(folder + kFileName));
  }
}

TEST_F(RegistrationTest, OnlyTheOwnTreeGoes) {
  SetValue(kOther, "Path", REG_SZ, "theirs");
  RegCloseKey(MakeKey(kOther + "\\" + kMimeKey));
  const std::string theirs = Show(kOther);
  ASSERT_EQ(RegisterNPAPIPluginWithPath("C:\\"), 0u);
  RegCloseKey(MakeKey(kOwnKey + "\\MimeTypes\\application/x-of-before"));
  RegCloseKey(MakeKey(kOwnKey + "\\Suffixes\\x\\y"));
  EXPECT_EQ(UnregisterNPAPIPlugin(0), 0u);
  EXPECT_EQ(Show(kOwnKey), "none");
  EXPECT_EQ(UnregisterNPAPIPlugin(77), 0u) << "with nothing left";
  EXPECT_EQ(UnregisterNPAPIPluginNoParam(), 0u);
  EXPECT_EQ(Show(kOther), theirs);
  EXPECT_EQ(BuildPluginKeyName("x", ""), "Software\\MozillaPlugins\\@norvo.com/Norvo WebAPI x");
}

TEST_F(RegistrationTest, AFailureStopsTheWritingAndTheDeletion) {
  if (!kHasLayerSettings) GTEST_SKIP() << "the system's registry doesn't fail when asked";
  const auto eachFailureOf = [](uint32_t told, const std::function<uint32_t()>& work) {
    int nth = 1;
    for (bool fired = true; fired; ++nth) {
      RegCloseKey(MakeKey(kScratch + "\\b\\c"));
      FailCall failing("*", ERROR_REGISTRY_IO_FAILED, nth);
      const uint32_t result = work();
      fired = failing.fired();
      EXPECT_EQ(result, fired ? told : 0) << nth;
      EXPECT_TRUE(!fired || Show(kScratch) != "none") << nth;
      EXPECT_EQ(UnregisterNPAPIPluginNoParam(), 0u);
    }
    return nth;
  };
  EXPECT_GT(eachFailureOf(1, [] { return RegisterNPAPIPluginWithPath("C:\\"); }), 13);
  EXPECT_GT(eachFailureOf(ERROR_REGISTRY_IO_FAILED,
                          [] { return static_cast<uint32_t>(DeleteKeyTree(HKEY_LOCAL_MACHINE, kScratch.c_str())); }),
            6);
}

TEST_F(RegistrationTest, TheInstallerNamesTheFolder) {
  EXPECT_EQ(RegisterNPAPIPlugin(0), 1u) << "no installation runs";
  if (!kHasLayerSettings) GTEST_SKIP() << "a property needs a running installation";
  for (const std::string& folder :
       {"C:\\a b\\"s, "x"s, std::string(260, 'p') + "\\", std::string(70'000, 'q') + "\\"}) {
    const InstallerProperty property("CustomActionData", folder);
    EXPECT_EQ(RegisterNPAPIPlugin(1), 0u);
    EXPECT_EQ(Show(kOwnKey), Tree(folder + kFileName));
  }
  Clear();
  {
    const InstallerProperty property("CustomActionData", "");
    EXPECT_EQ(RegisterNPAPIPlugin(1), 1u) << "no folder at all";
  }
  const InstallerProperty property("CustomActionData", "C:\\");
  for (const int nth : {1, 2}) {
    for (const DWORD error : {ERROR_INVALID_HANDLE, ERROR_MORE_DATA}) {
      if (nth == 1 && error == ERROR_MORE_DATA) continue;  // The answer that is hoped for.
      const FailCall failing("MsiGetPropertyA", error, nth);
      EXPECT_EQ(RegisterNPAPIPlugin(1), 1u) << nth << ' ' << error;
    }
  }
  EXPECT_EQ(Show(kOwnKey), "none");
}

TEST_F(RegistrationTest, ATreeOfAnySizeGoes) {
  const HKEY tree = MakeKey(kScratch);
  for (int i = 0; i < 300; ++i) {
    std::string name = std::to_string(i) + "-";
    if (i % 10 == 0) name.resize(255, 'n');
    RegCloseKey(MakeKey(name, tree));
  }
  RegCloseKey(tree);
  std::string deep = kScratch;
  for (int i = 0; i < 30; ++i) RegCloseKey(MakeKey(deep += "\\level"));
  EXPECT_EQ(DeleteKeyTree(HKEY_LOCAL_MACHINE, kScratch.c_str()), ERROR_SUCCESS);
  EXPECT_EQ(Show(kScratch), "none");
  EXPECT_EQ(DeleteKeyTree(HKEY_LOCAL_MACHINE, kScratch.c_str()), ERROR_FILE_NOT_FOUND);
}

TEST_F(RegistrationTest, TheCheckNamesWhatIsWrong) {
  EXPECT_EQ(Show(CheckRegistration()), ": 2 /\n");
  ASSERT_EQ(RegisterNPAPIPluginWithPath("C:\\"), 0u);
  EXPECT_EQ(Show(CheckRegistration()), "");
  std::string path;
  EXPECT_EQ(ReadRegisteredPath(path), ERROR_SUCCESS);
  EXPECT_EQ(path, "C:\\" + kFileName);
  const struct {
    const char* value;
    DWORD type;
    std::string bytes;
    const char* shown;
  } rows[] = {
      {"Vendor", REG_SZ, "Else\0"s, ":Vendor 0 Else/Norvo\n"},
      {"Vendor", REG_SZ, "Norvo\0"s, ""},  // Terminated or not, the text is the same.
      {"Version", REG_SZ, "", ":Version 0 /5.0.5\n"},
      {"Version", REG_DWORD, "5055", ":Version 13 /5.0.5\n"},
      {"Path", REG_BINARY, "C:", ":Path 13 /\n:Version 13 /5.0.5\n"},
  };
  for (const auto& [value, type, bytes, shown] : rows) {
    SetValue(kOwnKey, value, type, bytes);
    EXPECT_EQ(Show(CheckRegistration()), shown);
  }
  EXPECT_EQ(ReadRegisteredPath(path), ERROR_INVALID_DATA);
  ASSERT_EQ(RegisterNPAPIPluginWithPath("C:\\"), 0u);
  EXPECT_EQ(RegDeleteKeyA(HKEY_LOCAL_MACHINE, (kOwnKey + "\\" + kMimeKey).c_str()), ERROR_SUCCESS);
  EXPECT_EQ(Show(CheckRegistration()), "\\" + kMimeKey + ": 2 /\n");
}

TEST_F(RegistrationTest, TheBuiltModuleRegistersItself) {
  const HMODULE module = LoadLibraryW(support::PlatformPath<WCHAR>(KSV_MODULE).c_str());
  ASSERT_NE(module, nullptr);
  const auto entry = [module](const char* name) { return reinterpret_cast<void*>(GetProcAddress(module, name)); };
  EXPECT_EQ(reinterpret_cast<decltype(&RegisterNPAPIPlugin)>(entry("RegisterNPAPIPlugin"))(0), 1u);
  EXPECT_EQ(reinterpret_cast<decltype(&RegisterNPAPIPluginWithPath)>(entry("RegisterNPAPIPluginWithPath"))("C:\\"), 0u);
  EXPECT_EQ(Show(kOwnKey), Tree("C:\\" + kFileName));
  EXPECT_EQ(reinterpret_cast<decltype(&UnregisterNPAPIPlugin)>(entry("UnregisterNPAPIPlugin"))(0), 0u);
  EXPECT_EQ(Show(kOwnKey), "none");
  FreeLibrary(module);
}
