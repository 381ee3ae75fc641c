// What a page is told of the machine and of the updater's question, on every system.
#include <gmock/gmock.h>

#include <cstdio>
#include <cstdlib>

#include "storage/platform_files.h"
#include "storage/update_gate.h"
#include "tests/support/agent_fixture.h"
#include "tests/support/outcomes.h"

using namespace support;
using NorvoWebAPI::Platform::GetBasePath;
using NorvoWebAPI::Platform::IsUpdateOverdue;

class PlatformInfoTest : public AgentTest {};

TEST_F(PlatformInfoTest, ThePromptIsDueUntilTheFileIsThere) {
  const std::string file = "updater/update_optin_time";
  const auto shows = [this](const std::vector<Value>& arguments = {}) {
    return page.Call("isUpdaterPromptRequired", arguments).Show();
  };
  const std::string due = "pluginRetCode=0 fnRetCode=0 promptRequired=true";
  const std::string notDue = "pluginRetCode=0 fnRetCode=0 promptRequired=false";
  EXPECT_EQ(shows(), due) << "no folder";
  environment.Write("updater/other", "");
  EXPECT_EQ(shows(), due) << "no file";
  environment.Write(file, "");
  EXPECT_EQ(shows(std::vector<Value>(5000, "x")), notDue);
  std::filesystem::remove(environment.Path(file));
  std::filesystem::create_directories(environment.Path(file + "/inner"));
  EXPECT_EQ(shows(), due) << "a folder of that name";
  EXPECT_EQ(agent.TakeCalls(true), Calls{});
}

// The base path is kept for the life of a process, so each form of the variable is read by one of its own.
TEST(PlatformInfoDeathTest, TheProfileMayBeInDisorder) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto child = [](const char* appData) {
    const platform::ScopedVariable variable("AppData", appData);
    TestHost host;
    const Page page(host);
    std::string base;
    const std::string error = ErrorOf([&] { base = GetBasePath(); });
    std::fprintf(stderr, "%s|%s%s%s|", page.Call("isUpdaterPromptRequired").Show().c_str(), base.c_str(), error.c_str(),
                 IsUpdateOverdue("none") ? ", shut" : ", open");
    const platform::ScopedVariable found("AppData", "\\p\\Roaming");
    std::fprintf(stderr, "%s|", GetBasePath().c_str());
    std::exit(0);
  };
  using testing::HasSubstr;
  // Nothing of the failure is kept: the variable that is set later serves.
  const auto unknown = testing::AllOf(
      HasSubstr("pluginRetCode=13 promptRequired=false|Failed to find AppData environment variable, shut|"),
      HasSubstr("\\p\\LocalLow\\Norvo\\webapi\\|"));
  const std::string due = "pluginRetCode=0 fnRetCode=0 promptRequired=true|";
  const std::string longPath = "\\" + std::string(20'000, 'x');
  const std::pair<const char*, testing::Matcher<const std::string&>> rows[] = {
      {nullptr, unknown},
      {"", unknown},
      {"\\no\\AppData\\Roaming", HasSubstr("\\no\\AppData\\LocalLow\\Norvo\\webapi\\, shut|")},
      {"\\no\\Roaming\\", HasSubstr("\\no\\Roaming\\LocalLow\\Norvo\\webapi\\, shut|")},
      {"\\no\\x\\..\\roaming", HasSubstr("\\no\\roaming\\LocalLow\\Norvo\\webapi\\, shut|")},
      {"\\no\\such\\folder\\Roaming", HasSubstr(due)},
      {"..\\..\\..\\..\\..\\..\\..\\..\\..", HasSubstr(due)},
      // Some systems make no full path of so long a one.
      {longPath.c_str(), testing::AnyOf(HasSubstr(due), HasSubstr("pluginRetCode=13 promptRequired=false|"))},
  };
  for (const auto& [appData, answer] : rows) {
    EXPECT_EXIT(child(appData), testing::ExitedWithCode(0), answer);
  }
}
