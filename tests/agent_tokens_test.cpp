// The token store behind the script methods: where tokens are written, listed, deleted and read from, by page.
#include "tests/support/agent_fixture.h"

using namespace support;
namespace fs = std::filesystem;

namespace {

constexpr char kOwn[] = "KSV_tokens/https_bank.example_8443/";

std::string Codes(int32_t pluginRetCode, const char* token = " b64EncToken='dG9rZW4='") {
  return "pluginRetCode=" + std::to_string(pluginRetCode) + " fnRetCode=0" + token;
}

}  // namespace

class AgentTokensTest : public AgentTest {
 protected:
  AgentTokensTest() { agent.On("ZUB_EndProvisioning", Gives("token")); }

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

TEST_F(AgentTokensTest, WritesTheTokenAndItsCopyOrTellsWhyNot) {
  environment.Write(std::string(kOwn) + "taken", "old");
  environment.Write("KSV_tokens/other.example/taken2", "old");
  environment.Write("KSV_tokens/file.example", "a file in a folder's place");
  environment.Write("../outside", "old");
  environment.Write(std::string(kOwn) + "nested/nested", "old");
  fs::create_directories(environment.Path(std::string(kOwn) + "folder"));
  const std::string longest(127, 'd');
  // What is written lies below KSV_tokens; "own/" stands for the page's folder.
  const std::tuple<Value, Value, Value, int32_t, std::vector<std::string>> rows[] = {
      {"a", true, "", 0, {"own/a"}},
      {"b", true, "https://other-one.example/login", 0, {"own/b", "https_other-one.example/b"}},
      {"c", true, longest, 0, {"own/c", longest + "/c"}},
      {"e", true, ".", 0, {"own/e", "e"}},
      {"f", false, 5, 0, {"f"}},
      {"", true, "", 0, {}},
      {"g", true, longest + "d", 19, {"own/g"}},
      {"h", true, "other.example:/x", 19, {"own/h"}},
      {"l", true, "..", 13, {"own/l"}},
      {"m", true, "file.example", 21, {"own/m"}},
      {"taken2", true, "other.example", 18, {"own/taken2"}},
      {"taken", true, "", 18, {}},
      {"f", false, "", 18, {}},
      {"nested", true, "", 18, {}},
      {"..\\other.example\\taken2", true, "", 18, {}},
      {"..\\..\\lastUpdatewin32-npapi", true, "", 18, {}},
      {"folder", true, "", 21, {}},
      {"..\\..\\..\\outside", true, "", 13, {}},
      {"../../../none", false, "", 13, {}},
  };
  for (const auto& [file, bind, second, code, written] : rows) {
    EXPECT_EQ(Bind(bank, file, bind, second), Codes(code));
    for (const std::string& path : written) {
      EXPECT_EQ(environment.Read(path.starts_with("own/") ? kOwn + path.substr(4) : "KSV_tokens/" + path), "token")
          << path;
    }
  }
  for (const char* kept :
       {"KSV_tokens/https_bank.example_8443/taken", "KSV_tokens/other.example/taken2", "../outside"}) {
    EXPECT_EQ(environment.Read(kept), "old") << kept;
  }
  EXPECT_FALSE(environment.Read("../none"));
  EXPECT_EQ(Bind(bank, "n", true, 5), "pluginRetCode=13");
  EXPECT_EQ(page.Call("zubEndProvisioning", {"app", 7, 64, "o"}).Show(), Codes(0));
  EXPECT_EQ(environment.Read("KSV_tokens/o"), "token");
}

TEST_F(AgentTokensTest, OriginsWithoutAFolderOfTheirOwnReadTheRootAlone) {
  environment.Write(std::string(kOwn) + "kept", "old");
  environment.Write("KSV_tokens/free", "root");
  agent.On("ZUB_EndProvisioning", Gives("", 0));
  EXPECT_EQ(Bind(bank, "new"), Codes(0, "")) << "nothing is written without a token";
  agent.On("ZUB_EndProvisioning", Gives("token", 5, 11));
  EXPECT_EQ(Bind(bank, "new"), "pluginRetCode=0 fnRetCode=11 requiredEncTokenLen=5");
  EXPECT_FALSE(environment.Read(std::string(kOwn) + "new"));
  agent.On("ZUB_EndProvisioning", Gives("token"));
  const Page hostless(host, "data:,/../https_bank.example_8443");
  const Page empty(host, std::string("\0x", 2));
  const Page longest(host, "https://" + std::string(121, 'x') + "/");
  const Page tooLong(host, "https://" + std::string(122, 'x') + "/");
  EXPECT_EQ(List(hostless), Codes(19, ""));
  EXPECT_EQ(List(empty), Codes(19, ""));
  EXPECT_EQ(hostless.Call("zubDeleteTokenDomainBinding", {"kept"}).Show(), Codes(19, ""));
  EXPECT_EQ(Bind(hostless, "new"), Codes(19));
  EXPECT_EQ(Bind(longest, "new"), Codes(0));
  EXPECT_EQ(Bind(tooLong, "new"), Codes(19));
  EXPECT_FALSE(fs::exists(environment.Path("KSV_tokens/https_" + std::string(122, 'x'))));
  agent.TakeCalls();
  EXPECT_EQ(AskOTP(hostless, "", "kept"), "pluginRetCode=20 fnRetCode=10");
  EXPECT_EQ(AskOTP(hostless, "", "free"), "<'root'");
  EXPECT_EQ(environment.Read(std::string(kOwn) + "kept"), "old");
}

TEST_F(AgentTokensTest, PageListsAndDeletesFilesOfItsOwnFolder) {
  EXPECT_EQ(List(bank), "pluginRetCode=0 fnRetCode=0 tokenFileNames=[]");
  for (const char* own : {"b", "a", ".hidden"}) environment.Write(std::string(kOwn) + own, "1");
  for (const std::string other : {"root", "https_bank.example/c", "http_bank.example_8443/d"}) {
    environment.Write("KSV_tokens/" + other, "4");
  }
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

TEST_F(AgentTokensTest, GetOTPReadsTheTokenFromTextOrFile) {
  environment.Write(std::string(kOwn) + "own", "mine");
  environment.Write("KSV_tokens/own", "anyone's");
  environment.Write("KSV_tokens/root", std::string("r\0t", 3));
  environment.Write(std::string(kOwn) + "empty", "");
  environment.Write("KSV_tokens/https_[__1]/own", "by number");
  fs::create_directories(environment.Path("KSV_tokens/folder"));
  Page local(host, "");
  Page numeric(host, "https://[::1]/");
  const std::tuple<const Page&, const char*, const char*, std::string> cases[] = {
      {bank, "aGk=", "gone", "<'hi'"},
      {bank, "", "own", "<'mine'"},
      {page, "", "own", "<'anyone's'"},
      {numeric, "", "own", "<'by number'"},
      {bank, "", "root", std::string("<'r\0t'", 6)},
      {bank, "", "empty", "<''"},
      {bank, "", "", "<null"},
      {bank, "", "gone", "pluginRetCode=20 fnRetCode=10"},
      {bank, "", "folder", "pluginRetCode=20 fnRetCode=10"},
      {page, "", "https_bank.example_8443\\own", "pluginRetCode=20 fnRetCode=10"},
      {local, "", "root", "<null"},
  };
  for (const auto& [asking, text, file, given] : cases) EXPECT_EQ(AskOTP(asking, text, file), given) << file;
  EXPECT_EQ(environment.Read(std::string(kOwn) + "own"), "mine") << "the page stores a new token itself";
}

TEST_F(AgentTokensTest, OriginIsReadAtEachCallAndItsFailuresGive13) {
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
  EXPECT_EQ(Bind(page, "t", true, "two.example"), Codes(0));
  EXPECT_EQ(environment.Read("KSV_tokens/t"), "token");
  EXPECT_FALSE(environment.Read("KSV_tokens/two.example/t"));
}
