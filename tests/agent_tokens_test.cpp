// Tokens on disk: which page's, under which name, and where a password's token comes from.
#include "tests/support/agent_fixture.h"

using namespace support;
namespace fs = std::filesystem;

namespace {

constexpr char kOwn[] = "KSV_tokens/https_bank.example_8443/";
constexpr char kOther[] = "KSV_tokens/other.example/";

std::string Codes(int32_t pluginRetCode, const char* token = " b64EncToken='dG9rZW4='") {
  return "pluginRetCode=" + std::to_string(pluginRetCode) + " fnRetCode=0" + token;
}

}  // namespace

class AgentTokensTest : public AgentTest {
 protected:
  AgentTokensTest() {
    for (const char* entry : {"ZUB_EndProvisioning", "ZUB3_EndProvisioning"}) agent.On(entry, Gives("token"));
  }

  static std::string Bind(const Page& on, const Value& file, const Value& bind = true, const Value& second = "") {
    return on.Call("zubEndProvisioningDomainBinding", {"app", 7, 64, file, bind, second}).Show();
  }
  static std::string List(const Page& page) { return page.Call("zubEnumerateTokensDomainBinding").Show(); }
  /// What the library was given as token when a password was asked for.
  std::string AskOTP(const Page& page, const char* text, const char* file) {
    const std::string shown = page.Call("zubGetOTP", {"app", 3, text, "", 8, 16, file}).Show();
    const Calls calls = agent.TakeCalls();
    if (calls.empty()) return shown;
    const size_t begin = calls[0].find('<');
    return calls[0].substr(begin, calls[0].find(',', begin) - begin);
  }

  Page bank{host, "https://bank.example:8443/otp/page?x=://y"};
};

TEST_F(AgentTokensTest, TokensAreFiledByPageAndName) {
  for (const uint32_t version : {2u, 3u}) {
    agent.SetVersion(version);
    Page page(host, "https://bank.example:8443/");
    const std::string name = "t" + std::to_string(version);
    EXPECT_EQ(Bind(page, name, true, "other.example:/x"), Codes(19));  // A colon goes, the slash behind it stays.
    EXPECT_EQ(environment.Read(kOwn + name), "token");
    EXPECT_EQ(Bind(page, name + "b", true, "https://other.example/login"), Codes(0));
    EXPECT_EQ(environment.Read("KSV_tokens/https_other.example/" + name + "b"), "token");
    EXPECT_EQ(Bind(page, name, false, 5), Codes(0));
    EXPECT_EQ(environment.Read("KSV_tokens/" + name), "token");
    EXPECT_EQ(page.Call("zubEndProvisioning", {"app", 7, 64, name + "c"}).Show(), Codes(0));
    EXPECT_EQ(environment.Read("KSV_tokens/" + name + "c"), "token");
  }
}

TEST_F(AgentTokensTest, FailuresOfTheStoreLeaveThePageItsToken) {
  environment.Write(std::string(kOwn) + "taken", "old");
  environment.Write(std::string(kOther) + "taken2", "old");
  fs::create_directories(environment.Path(std::string(kOwn) + "folder"));
  environment.Write("KSV_tokens/file.example", "a file in a folder's place");
  const std::string longest(127, 'd');
  const struct {
    Value file;
    Value second;
    int32_t code;
  } cases[] = {
      {"taken", "", 18},
      {"taken2", "other.example", 18},
      {"folder", "", 21},
      {"a", "file.example", 21},
      {"b", longest, 0},
      {"c", longest + "d", 19},
      {"d", "under_score-and.dot", 0},
      {"e", "blank example", 19},
      {"f", "back\\slash", 19},
      {"g", "caf\xC3\xA9", 19},
      {"..\\..\\..\\..\\..\\outside", "", 13},
      {"../../../../../outside", "", 13},
  };
  for (const auto& [file, second, code] : cases) EXPECT_EQ(Bind(bank, file, true, second), Codes(code));
  EXPECT_EQ(environment.Read(std::string(kOwn) + "taken"), "old");
  EXPECT_EQ(environment.Read(std::string(kOther) + "taken2"), "old");
  for (const char* first : {"taken2", "a", "c", "e", "g"}) {
    EXPECT_EQ(environment.Read(std::string(kOwn) + first), "token") << "the first copy stands: " << first;
  }
  EXPECT_FALSE(fs::exists(environment.Path("../outside")));

  EXPECT_EQ(Bind(bank, "h", true, 5), "pluginRetCode=13");
  environment.Write("KSV_tokens", "");
  const std::string tooLong = "https://" + std::string(128, 'x') + "/";
  Page distant(host, tooLong);
  EXPECT_EQ(Bind(distant, "t"), Codes(19));
}

TEST_F(AgentTokensTest, AnAddressOrANameLeadsIntoNoOtherFolder) {
  environment.Write(std::string(kOwn) + "kept", "old");
  environment.Write("KSV_tokens/free", "root");
  Page rootless(host, "data:,/../https_bank.example_8443");
  EXPECT_EQ(List(rootless), Codes(19, ""));
  EXPECT_EQ(List(Page(host, std::string("\0x", 2))), Codes(19, "")) << "the root is nobody's";
  EXPECT_EQ(rootless.Call("zubDeleteTokenDomainBinding", {"kept"}).Show(), Codes(19, ""));
  EXPECT_EQ(Bind(rootless, "new"), Codes(19));
  agent.TakeCalls();
  EXPECT_EQ(AskOTP(rootless, "", "kept"), "pluginRetCode=20 fnRetCode=10");
  EXPECT_EQ(AskOTP(rootless, "", "free"), "<'root'");
  EXPECT_EQ(Bind(bank, "first", true, "."), Codes(19));
  EXPECT_EQ(Bind(bank, "second", true, ".."), Codes(19));
  const Page other(host, "https://other.example/");
  for (const char* name : {"..\\https_bank.example_8443\\kept", "..\\..\\lastUpdatewin32-npapi"}) {
    EXPECT_EQ(Bind(other, name), Codes(18));
  }
  EXPECT_EQ(environment.Read(std::string(kOwn) + "kept"), "old");
}

TEST_F(AgentTokensTest, NothingIsFiledWithoutATokenOrAName) {
  EXPECT_EQ(Bind(bank, ""), Codes(0));
  agent.On("ZUB_EndProvisioning", Gives("", 0));
  EXPECT_EQ(Bind(bank, "t"), Codes(0, ""));
  agent.On("ZUB_EndProvisioning", Gives("token", 5, 11));
  EXPECT_EQ(Bind(bank, "t"), "pluginRetCode=0 fnRetCode=11 requiredEncTokenLen=5");
  EXPECT_FALSE(fs::exists(environment.Path("KSV_tokens")));
}

TEST_F(AgentTokensTest, PageListsAndDeletesItsOwnAlone) {
  EXPECT_EQ(List(bank), "pluginRetCode=0 fnRetCode=0 tokenFileNames=[]");
  environment.Write(std::string(kOwn) + "b", "1");
  environment.Write(std::string(kOwn) + "a", "2");
  environment.Write(std::string(kOwn) + ".hidden", "3");
  environment.Write("KSV_tokens/root", "4");
  environment.Write("KSV_tokens/https_bank.example/c", "5");
  environment.Write("KSV_tokens/http_bank.example_8443/d", "6");
  const std::string listed = List(bank);
  EXPECT_TRUE(listed.ends_with("['a' 'b']") || listed.ends_with("['b' 'a']")) << listed;
  EXPECT_EQ(bank.Call("zubEnumerateTokensDomainBinding", std::vector<Value>(5000, "x")).Show(), listed);

  const std::pair<Value, const char*> deletions[] = {
      {"a", "pluginRetCode=0 fnRetCode=0"},     {"a", "pluginRetCode=20 fnRetCode=0"},
      {"root", "pluginRetCode=20 fnRetCode=0"}, {"..\\root", "pluginRetCode=20 fnRetCode=0"},
      {"*", "pluginRetCode=20 fnRetCode=0"},    {"B", "pluginRetCode=20 fnRetCode=0"},
      {"", "pluginRetCode=13 fnRetCode=0"},     {7, "pluginRetCode=13"},
  };
  for (const auto& [name, expected] : deletions) {
    EXPECT_EQ(bank.Call("zubDeleteTokenDomainBinding", {name}).Show(), expected);
  }
  EXPECT_EQ(List(bank), "pluginRetCode=0 fnRetCode=0 tokenFileNames=['b']");
  EXPECT_EQ(environment.Read("KSV_tokens/root"), "4");
  EXPECT_EQ(agent.TakeCalls(true), Calls{});
}

TEST_F(AgentTokensTest, PasswordTakesItsTokenFromTextOrFile) {
  environment.Write(std::string(kOwn) + "own", "mine");
  environment.Write("KSV_tokens/own", "anyone's");
  environment.Write("KSV_tokens/root", std::string("r\0t", 3));
  environment.Write(std::string(kOwn) + "empty", "");
  fs::create_directories(environment.Path("KSV_tokens/folder"));
  Page local(host, "");
  const struct {
    const Page& page;
    const char* text;
    const char* file;
    std::string given;
  } cases[] = {
      {bank, "aGk=", "gone", "<'hi'"},
      {bank, "", "own", "<'mine'"},
      {page, "", "own", "<'anyone's'"},
      {bank, "", "root", std::string("<'r\0t'", 6)},
      {bank, "", "empty", "<''"},
      {bank, "", "", "<null"},
      {bank, "", "gone", "pluginRetCode=20 fnRetCode=10"},
      {bank, "", "folder", "pluginRetCode=20 fnRetCode=10"},
      {page, "", "https_bank.example_8443\\own", "pluginRetCode=20 fnRetCode=10"},
      {local, "", "root", "<null"},
  };
  for (const auto& [asking, text, file, given] : cases) EXPECT_EQ(AskOTP(asking, text, file), given) << file;
  EXPECT_EQ(environment.Read(std::string(kOwn) + "own"), "mine") << "a password's new token is the page's to keep";
}

TEST_F(AgentTokensTest, OriginIsReadAfreshAndEveryFailureTold) {
  environment.Write(std::string(kOwn) + "t", "1");
  const std::string own = "pluginRetCode=0 fnRetCode=0 tokenFileNames=['t']";
  EXPECT_EQ(List(bank), own);
  // Without a window the origin found last stands, whichever page's it was.
  host.Fail(Fault::GetValue);
  EXPECT_EQ(List(page), own);

  const auto location = [&](const Value& text) {
    return host.Object({{"toString", host.NewFunction([=](const auto&, Value& result) {
                           result = text;
                           return !std::holds_alternative<std::monostate>(text);
                         })}});
  };
  const std::pair<Value, const char*> locations[] = {
      {"https://bank.example:8443/", "pluginRetCode=13"},
      {nullptr, "pluginRetCode=13"},
      {host.Object(), "pluginRetCode=13"},
      {location(5), "pluginRetCode=13"},
      {location({}), "pluginRetCode=13"},
      {location("https://bank.example:8443"), own.c_str()},
      {location("https://bank.example:8443#/"), "pluginRetCode=0 fnRetCode=0 tokenFileNames=[]"},
      {location(""), "null"},
  };
  for (const auto& [value, expected] : locations) {
    page.Window().Set("location", value);
    EXPECT_EQ(List(page), expected);
  }
  EXPECT_EQ(page.Call("zubDeleteTokenDomainBinding", {"t"}).Show(), "null");
  agent.On("ZUB_EndProvisioning", Gives("token"));
  EXPECT_EQ(Bind(page, "t", true, "two.example"), Codes(0));
  EXPECT_EQ(environment.Read("KSV_tokens/t"), "token");
  EXPECT_FALSE(environment.Read("KSV_tokens/two.example/t"));
}
