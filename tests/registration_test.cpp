// The registration by which browsers find the plug-in: the module's four exports, and the keys that they write and
// delete.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <tuple>

#include "base/registry_key.h"
#include "registration/plugin_keys.h"
#include "shell/exports.h"
#include "tests/support/environment.h"
#include "tests/support/paths.h"

using NorvoWebAPI::RegistryKey;
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

RegistryKey MakeKey(const std::string& name, HKEY parent = HKEY_LOCAL_MACHINE) {
  RegistryKey key;
  EXPECT_EQ(RegCreateKeyExA(parent, name.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, key.Put(), nullptr), 0);
  return key;
}

// A key's texts and its sub keys, as in "ShortName=ksv|Path=x|MimeTypes{}"; "none" for no key.
std::string Show(const std::string& name) {
  RegistryKey key;
  if (RegOpenKeyExA(HKEY_LOCAL_MACHINE, name.c_str(), 0, KEY_READ, key.Put()) != ERROR_SUCCESS) return "none";
  std::string shown;
  for (const char* value : kValueNames) {
    std::string text(100'000, '\0');
    DWORD type = 0;
    auto size = static_cast<DWORD>(text.size());
    if (RegQueryValueExA(key.Get(), value, nullptr, &type, reinterpret_cast<BYTE*>(text.data()), &size) != 0) continue;
    EXPECT_EQ(type, REG_SZ);
    shown += value + "="s + text.c_str() + "|";
    // Windows adds the terminator itself.
    EXPECT_TRUE(!kHasLayerSettings || size == std::strlen(text.c_str())) << value;
  }
  char subKey[256];
  for (DWORD index = 0, size = sizeof subKey;
       RegEnumKeyExA(key.Get(), index, subKey, &size, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
       ++index, size = sizeof subKey) {
    shown += subKey + "{"s + Show(name + "\\" + subKey) + "}";
  }
  return shown;
}

std::string Tree(const std::string& path) {
  return "ShortName=ksv|Description=Norvo KSV WebApi plugin|Path=" + path +
         "|ProductName=ksv|Vendor=Norvo|Version=5.0.5|MimeTypes{application/x-vnd-norvo-webapi-ksv-5.0.5{}}";
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

TEST_F(RegistrationTest, RegisteringWritesThePathOfTheModuleInTheFolder) {
  EXPECT_EQ(RegisterNPAPIPluginWithPath(nullptr), 1u);
  EXPECT_EQ(Show(kOwnKey), "none");
  // Each registers over the one before.
  const std::string longFolder = "C:\\" + std::string(5000, 'f') + "\\";
  for (const std::string& folder : {"C:\\Norvo"s, ""s, longFolder, "\\\\server\\share/a;b=%x%\\"s}) {
    EXPECT_EQ(RegisterNPAPIPluginWithPath(folder.c_str()), 0u) << folder;
    EXPECT_EQ(Show(kOwnKey), Tree(folder + kFileName));
  }
}

TEST_F(RegistrationTest, UnregisteringRemovesTheWholeKeyAndNoOther) {
  MakeKey(kOther + "\\" + kMimeKey);
  const std::string theirs = Show(kOther);
  ASSERT_EQ(RegisterNPAPIPluginWithPath("C:\\"), 0u);
  MakeKey(kOwnKey + "\\MimeTypes\\application/x-of-before");
  MakeKey(kOwnKey + "\\Suffixes\\x\\y");
  EXPECT_EQ(UnregisterNPAPIPlugin(0), 0u);
  EXPECT_EQ(Show(kOwnKey), "none");
  EXPECT_EQ(UnregisterNPAPIPlugin(77) + UnregisterNPAPIPluginNoParam(), 0u) << "with nothing left";
  EXPECT_EQ(Show(kOther), theirs);
  {
    const support::NthFailure noMemory(support::Source::Allocation, 1, {});
    const support::InPlugin unregisters(true);
    EXPECT_EQ(UnregisterNPAPIPluginNoParam(), 0u) << "whatever fails, an uninstallation goes on";
  }
  EXPECT_EQ(BuildPluginKeyName("x", ""), "Software\\MozillaPlugins\\@norvo.com/Norvo WebAPI x");
}

TEST_F(RegistrationTest, EachFailingCallStopsTheWorkAndGivesItsError) {
  if (!kHasLayerSettings) GTEST_SKIP() << "the system's registry doesn't fail when asked";
  const std::tuple<uint32_t, int, std::function<uint32_t()>> rows[] = {
      {1, 13, [] { return RegisterNPAPIPluginWithPath("C:\\"); }},
      {ERROR_REGISTRY_IO_FAILED, 6, [] { return DeleteKeyTree(HKEY_LOCAL_MACHINE, kScratch.c_str()); }}};
  for (const auto& [told, calls, work] : rows) {
    int nth = 1;
    for (bool fired = true; fired; ++nth) {
      MakeKey(kScratch + "\\b\\c");
      FailCall failing("*", ERROR_REGISTRY_IO_FAILED, nth);
      const uint32_t result = work();
      fired = failing.fired();
      EXPECT_EQ(result, fired ? told : 0) << nth;
      EXPECT_TRUE(!fired || Show(kScratch) != "none") << nth;
      EXPECT_EQ(UnregisterNPAPIPluginNoParam(), 0u);
    }
    EXPECT_GT(nth, calls);
  }
}

TEST_F(RegistrationTest, RegisteringReadsTheFolderFromTheInstaller) {
  EXPECT_EQ(RegisterNPAPIPlugin(0), 1u) << "no installation runs";
  if (!kHasLayerSettings) GTEST_SKIP() << "a property needs a running installation";
  for (const std::string& folder : {"C:\\a b\\"s, std::string(260, 'p') + "\\", std::string(70'000, 'q') + "\\"}) {
    const InstallerProperty property("CustomActionData", folder);
    EXPECT_EQ(RegisterNPAPIPlugin(1), 0u);
    EXPECT_EQ(Show(kOwnKey), Tree(folder + kFileName));
  }
  Clear();
  const std::pair<int, DWORD> failures[] = {
      {99, ERROR_INVALID_HANDLE}, {1, ERROR_INVALID_HANDLE}, {2, ERROR_INVALID_HANDLE}, {2, ERROR_MORE_DATA}};
  for (const auto& [nth, error] : failures) {
    const InstallerProperty property("CustomActionData", nth == 99 ? "" : "C:\\");
    const FailCall failing("MsiGetPropertyA", error, nth);
    EXPECT_EQ(RegisterNPAPIPlugin(1), 1u) << nth << ' ' << error;
  }
  EXPECT_EQ(Show(kOwnKey), "none");
}
