// Instances and applets.
#include "tests/support/agent_fixture.h"

using namespace support;

namespace {

constexpr char kOathApplet[] = "8D67D9DD2AF54717AFF2FF7EF19DFADB";

}  // namespace

class InstancesTest : public AgentTest {};

TEST_F(InstancesTest, StopTakesAnInstanceOutUnlessTheLibraryRefuses) {
  agent.SetVersion(3);
  page.Call("zubStartProvisioning", {"app"});
  Page second(host);
  second.Call("zubStartProvisioning", {"app"});
  EXPECT_EQ(second.Call("getInstanceID", {"app"}).Int("instanceID"), 102) << "an instance of its own";
  EXPECT_EQ(page.Call("getInstanceID", {5}).Show(), "pluginRetCode=13 fnRetCode=0");
  host.Fail(Fault::Enumerate);
  EXPECT_EQ(page.Call("getInstanceID", {host.Object()}).Show(), "pluginRetCode=13 fnRetCode=0");
  EXPECT_EQ(page.Call("zubStopInstance").Show(), "pluginRetCode=12");
  agent.On("ZUB3_StopInstance", Refuses(9));
  EXPECT_EQ(page.Call("zubStopInstance", {101}).Show(), "pluginRetCode=0 fnRetCode=9 instanceId=101");
  EXPECT_EQ(page.Call("getInstanceID", {"app"}).Int("instanceID"), 101);
  agent.On("ZUB3_StopInstance", Refuses(0));
  EXPECT_EQ(page.Call("zubStopInstance", {101, "not looked at"}).Int("fnRetCode"), 0);
  EXPECT_EQ(page.Call("getInstanceID", {"app"}).Int("instanceID"), 0);
  EXPECT_EQ(page.Call("zubStopInstance", {4711}).Int("fnRetCode"), 0) << "an id that no page has";
}

TEST_F(InstancesTest, AppletsGoThroughATemporaryFileThatIsGoneAfterwards) {
  AgentStub otp(environment, "otps", "otpZub.dll");
  const Page otpPage(host);
  std::string installed;
  const auto install = [&](AgentCall& call) {
    installed.assign(reinterpret_cast<const char*>(call.input[0]), static_cast<size_t>(call.inputLength[0]));
    std::erase(installed, '\0');  // Of the wide characters.
    for (const char* file : {"KSV_applets/temp.trok", "KSV_applets/temp.pack"}) {
      if (const auto bytes = environment.Read(file)) installed = std::string(file) + " " + *bytes;
    }
    call.status = 5;
  };
  agent.On("ZUB_Install", install);
  otp.On("ZUB_InstallOTPS", install);
  const std::tuple<const Page&, const char*, const char*, const char*> rows[] = {
      {page, "ZUB_Uninstall('app')", "KSV_applets/temp.trok", "oath.trok"},
      {otpPage, "ZUB_UninstallOTPS('app')", "KSV_applets/temp.pack", "oath.pack"}};
  for (const auto& [on, uninstall, file, builtIn] : rows) {
    EXPECT_EQ(on.Call("zubInstall", {"app", "aGVsbG8="}).Show(), "pluginRetCode=0 fnRetCode=5");
    EXPECT_EQ(installed, std::string(file) + " hello");
    EXPECT_FALSE(environment.Read(file));
    on.Call("zubInstall", {kOathApplet, ""});
    EXPECT_TRUE(installed.ends_with(builtIn)) << installed;
    agent.TakeCalls(), otp.TakeCalls();
    on.Call("zubUninstall", {"app"});
    EXPECT_EQ(&on == &page ? agent.TakeCalls() : otp.TakeCalls(), Calls{uninstall});
    std::filesystem::create_directories(environment.Path(file));
    EXPECT_EQ(on.Call("zubInstall", {"app", "aGVsbG8="}).Show(), "pluginRetCode=15 fnRetCode=10");
    std::filesystem::remove(environment.Path(file));
    if (!platform::kHasLayerSettings) continue;
    const platform::FullDisk full;
    EXPECT_EQ(on.Call("zubInstall", {"app", "aGVsbG8="}).Show(), "pluginRetCode=15 fnRetCode=10");
    EXPECT_FALSE(environment.Read(file)) << "a half-written one";
  }
}

TEST_F(InstancesTest, InstallHoldsItsLimitsBeforeTheGate) {
  const std::string id512(512, 'i');
  const std::tuple<std::vector<Value>, const char*> cases[] = {
      {{id512, std::string(1'000'000, 'A')}, "pluginRetCode=17 fnRetCode=10"},
      {{id512, std::string(1'000'001, 'A')}, "pluginRetCode=12 fnRetCode=10"},
      {{id512 + "i", "aGk="}, "pluginRetCode=12 fnRetCode=10"},
      {{"", "aGk="}, "pluginRetCode=12 fnRetCode=10"},
      {{kOathApplet, ""}, "pluginRetCode=17 fnRetCode=10"},
  };
  environment.SetLastUpdate({});
  for (const auto& [arguments, answer] : cases) EXPECT_EQ(page.Call("zubInstall", arguments).Show(), answer);
  environment.SetLastUpdate(0);
  EXPECT_EQ(page.Call("zubInstall", {"another", ""}).Show(), "pluginRetCode=12 fnRetCode=10");
  EXPECT_EQ(agent.TakeCalls(), Calls{});
  EXPECT_EQ(page.Call("zubInstall", {kOathApplet, ""}).Show(), "pluginRetCode=0 fnRetCode=0");
  EXPECT_EQ(page.Call("zubInstall", {id512, std::string(1'000'000, 'A')}).Show(), "pluginRetCode=0 fnRetCode=0");
}
