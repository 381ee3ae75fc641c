// What a page's object still does between NPP_Destroy and its deallocation.

#include "page/init_count.h"
#include "script/np_func_bridge.h"
#include "tests/support/method_calls.h"

using namespace support;
using namespace NorvoWebAPI;
using namespace NorvoWebAPI::KSV;

class PageEndTest : public MethodCallsTest {};

TEST_F(PageEndTest, LibraryWorkGoesOnAndWhatNeedsThePageFails) {
  const std::map<std::string_view, std::string> others{
      {"zubEndProvisioningDomainBinding", "pluginRetCode=13"},  // The page's origin.
      {"zubGetOTP", "pluginRetCode=13"},
      {"zubEnumerateTokensDomainBinding", "pluginRetCode=13"},
      {"zubDeleteTokenDomainBinding", "pluginRetCode=13"},
      {"zubRegisterEventCallback", "pluginRetCode=13"},
      {"zubUnRegisterEventCallback", "pluginRetCode=22"},
      {"setMouseDownCallback", "failed"},
      {"setMouseUpCallback", "failed"},
      {"setWindowEventCallback", "failed"},
      {"setRepaintImageCallback", "failed"},
      {"setDisplayEventsCallback", "failed"},
      {"wysDeInit", "pluginRetCode=13"},  // The end has given it back already.
  };
  SetGeneration(3);
  for (const MethodRow& row : kMethods) {
    TestHost host;
    Page page(host, "https://page.example/", window.handle());
    std::vector<Value> arguments = Arguments(row, host);
    for (size_t i = 0; i < arguments.size(); ++i) {
      if (row.arguments[i].name == std::string_view("sessionHandle")) arguments[i] = 1;
    }
    if (row.name == std::string_view("wysProcessRemoteWysMessage")) arguments[3] = "AQID", arguments[4] = "";
    Prepare(page, host, row.name);
    const std::string living = page.Call(row.name, arguments).Show();
    Prepare(page, host, row.name);
    const Page neighbour(host);
    neighbour.Call("zubInit");
    neighbour.Call("wysInit", Arguments(RowOf("wysInit"), host));
    page.Destroy();
    const int32_t after = agentInitCount.Total() + displayInitCount.Total();
    const auto other = others.find(row.name);
    host.Fail(Fault::GetValue);  // It never comes: the host is asked nothing more about the instance.
    EXPECT_EQ(page.Call(row.name, arguments).Show(), other == others.end() ? living : other->second) << row.name;
    EXPECT_EQ(agentInitCount.Total() + displayInitCount.Total(), after) << row.name << " counts for an ended page";
    host.Fail(Fault::GetValue, 0);
  }
}

TEST_F(PageEndTest, PageScriptIsNeitherReadNorCalledAndNestedResultsAreGone) {
  environment.Write("KSV_tokens/https_page.example/a", "1");
  TestHost host;
  Page page(host);
  const Result result = page.Call("zubEnumerateTokensDomainBinding");
  EXPECT_EQ(result.Member("tokenFileNames").Show(), "['a']");
  int runs = 0;
  ScriptObject* const number = host.Object();
  number->Define("a", [&] { return Value(++runs); });
  EXPECT_EQ(page.Call("zubSendData", {"app", number, 2, "aGk="}).Int("pluginRetCode"), 0);
  const auto life = std::make_shared<InstanceLife>();
  const Function function = [&](const auto&, Value&) { return ++runs > 0; };
  NPJSConverter::NPFuncBridge bridge(page.Instance(), &host.Funcs(), host.NewFunction(function), life);
  std::vector<JSObject> args;
  JSObject answer;
  EXPECT_TRUE(bridge.Call(args, answer));
  EXPECT_EQ(runs, 2);
  life->End();
  page.Destroy();
  EXPECT_FALSE(bridge.Call(args, answer));
  EXPECT_EQ(page.Call("zubSendData", {"app", number, 2, "aGk="}).Show(), "pluginRetCode=13");
  EXPECT_EQ(runs, 2);
  EXPECT_FALSE(result.Member("tokenFileNames").Answered());
  EXPECT_EQ(result.Int("pluginRetCode"), 0);
}
