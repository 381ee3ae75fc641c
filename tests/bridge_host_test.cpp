// The native host of the extension against a browser that talks to it through pipes, in this process and as the
// program.
#include <gmock/gmock.h>

#include <cstdlib>
#include <fstream>
#include <future>
#include <iterator>
#include <nlohmann/json.hpp>
#include <thread>

#include "bridge/host/caller.h"
#include "bridge/host/protocol.h"
#include "tests/support/bridge_talk.h"
#include "tests/support/environment.h"

using namespace support;
using nlohmann::json;
using std::string;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

const json kCreate = {{"n", 1}, {"on", 1}, {"do", "create"}, {"width", 100}, {"height", 50}};

// An object as the messages have it: its members in their order.
json Object(const std::vector<std::pair<string, json>>& members) {
  json list = json::array();
  for (const auto& [key, value] : members) list.push_back(json::array({key, value}));
  return {{"object", list}};
}

json Function(uint64_t number) {
  return {{"function", number}};
}

json Forgotten(const std::vector<std::pair<int, int>>& numbersAndCounts) {
  return {{"forget", numbersAndCounts}};
}

}  // namespace

class BridgeHostTest : public testing::Test {
 protected:
  BridgeHostTest() {
    agent.SetVersion(2);
    agent.On("ZUB_RegisterEventCb", [this](AgentCall& call) { raise = call.appletCallback; });
  }

  Environment environment;
  AgentStub agent{environment};
  AgentEventCallback raise = nullptr;
};

TEST_F(BridgeHostTest, EachMessageIsAnsweredOrEndsTheTalk) {
  const auto call = [](const string& arguments) {
    return R"({"n":2,"on":1,"do":"call","name":"zubInit","arguments":)" + arguments + "}";
  };
  const auto nested = [](size_t levels) {
    string value = "0";
    for (size_t i = 0; i < levels; ++i) value = R"({"object":[["a",)" + value + "]]}";
    return "[" + value + "]";
  };
  const auto many = [](size_t count) {
    string values = "0";
    while (--count > 0) values += ",0";
    return "[" + values + "]";
  };
  const string refused = R"({"n":2,"value":{"object":[["pluginRetCode",12]]}})";
  const std::pair<string, string> rows[] = {
      {R"({"n":2,"on":1,"do":"get","name":"version"})", R"({"n":2,"value":"5.0.5"})"},
      {R"({"n":2,"on":1,"do":"get","name":"none"})", R"({"n":2,"value":{"undefined":true}})"},
      {R"({"n":2,"on":1,"do":"set","name":"version","to":1})", R"({"error":"the plug-in refused version","n":2})"},
      {R"({"n":2,"on":9,"do":"create","width":0,"height":65535})", R"({"n":2,"value":{"undefined":true}})"},
      {R"({"n":2,"on":1,"do":"destroy"})", R"({"n":2,"value":{"undefined":true}})"},
      {call("[]"), R"({"n":2,"value":{"object":[["pluginRetCode",0],["fnRetCode",0]]}})"},
      {call(R"([{"plugin":7}])"), refused},
      {call(nested(64)), refused},
      {call(many(100'000)), refused},
      {call(R"([{"unreadable":true},)" + many(100'000).substr(1)), refused},
      {call(nested(65)), "too deep"},
      {call(many(100'001)), "too many values"},
      {call("[" + string(1000, '[') + string(1000, ']') + "]"), "nested too deeply"},
      {call("[" + many(600'000) + "," + many(600'000) + "]"), "too many values"},
      {call(R"(["\ud800"])"), "no JSON"},
      {call("[\"\xFF\"]"), "no JSON"},
      {call("{}"), "arguments are no list"},
      {call("[[]]"), "no such value"},
      {call("[{}]"), "no such value"},
      {call(R"([{"undefined":1}])"), "kind 'undefined'"},
      {call(R"([{"number":"1"}])"), "no number '1'"},
      {call(R"([{"function":-1}])"), "kind 'function'"},
      {call(R"([{"function":4294967296}])"), "kind 'function'"},
      {call(R"([{"object":[["a"]]}])"), "no pair"},
      {call(R"([{"object":[[1,1]]}])"), "no pair"},
      {"", "no JSON"},
      {"[]", "no object"},
      {"{}", "none of those"},
      {kHello.dump(), "twice"},
      {R"({"n":2,"on":1,"do":"sing"})", "no request 'sing'"},
      {R"({"n":2,"on":1,"do":"get"})", "too many or too few"},
      {R"({"n":2,"on":1,"do":"destroy","name":"a"})", "too many or too few"},
      {R"({"n":2,"on":2,"do":"create","width":1,"height":1,"name":"a"})", "too many or too few"},
      {R"({"n":2,"on":1,"do":"get","name":7})", "name is no text"},
      {R"({"n":"2","on":1,"do":"destroy"})", "n is no number"},
      {R"({"n":-2,"on":1,"do":"destroy"})", "n is no number"},
      {R"({"n":3,"on":1,"do":"destroy"})", "out of order"},
      {R"({"n":0,"on":1,"do":"destroy"})", "out of order"},
      {R"({"n":2,"on":2,"do":"destroy"})", "no such instance"},
      {R"({"n":2,"on":1,"do":"create","width":1,"height":1})", "used again"},
      {R"({"n":2,"on":2,"do":"create","width":65536,"height":1})", "width is too large"},
      {R"({"on":1,"place":[0,0,1,1],"within":[0,0,9,9]})", "too many or too few"},
      {R"({"on":1,"place":[0,0,1],"within":[0,0,9,9],"shown":true})", "place is no rectangle"},
      {R"({"on":1,"place":[0,0,1,1],"within":[0,-32768,9,9],"shown":true})", "within lies on no screen"},
      {R"({"on":1,"place":[0,0,-1,1],"within":[0,0,9,9],"shown":true})", "place lies on no screen"},
      {R"({"on":1,"place":[0.5,0,1,1],"within":[0,0,9,9],"shown":true})", "place lies on no screen"},
      {R"({"on":1,"place":[0,0,1,1],"within":[0,0,9,9],"shown":1})", "shown is no flag"},
      {R"({"ran":1})", "not been run"},
      {R"({"piece":2,"of":2,"text":""})", "out of order"},
      {R"({"piece":1,"of":0,"text":""})", "out of order"},
      {R"({"piece":1,"of":1,"text":"{\"piece\":1,\"of\":1,\"text\":\"\"}"})", "no message"},
  };
  for (const auto& [message, expected] : rows) {
    SCOPED_TRACE(message.substr(0, 100));
    Talk talk;
    talk.Open();
    talk.Send(message);
    const json answer = talk.Receive();
    if (expected[0] == '{') {
      EXPECT_EQ(answer.dump(), expected);
      EXPECT_EQ(talk.End(), 0);
    } else {
      EXPECT_THAT(answer.value("end", answer.dump()), HasSubstr(expected));
      EXPECT_EQ(talk.Receive(), json()) << "nothing follows the end";
      EXPECT_EQ(talk.End(), 1);
    }
  }
  json older = kHello;
  older["hello"] = 2;
  const std::pair<string, string> first[] = {{Framed(older.dump()), "install both"},
                                             {Framed(kCreate.dump()), "has not come"},
                                             {"\xFF\xFF\xFF\xFF", "too long"}};
  for (const auto& [bytes, expected] : first) {
    Talk talk;
    talk.SendBytes(bytes);
    EXPECT_THAT(talk.Receive().value("end", ""), HasSubstr(expected));
  }
}

TEST_F(BridgeHostTest, TalkThatIsCutAnywhereEnds) {
  const std::vector<string> messages{Framed(kHello.dump()), Framed(kCreate.dump()),
                                     Framed(R"({"n":2,"on":1,"do":"get","name":"version"})")};
  const string whole = messages[0] + messages[1] + messages[2];
  for (size_t cut = 0; cut <= whole.size(); ++cut) {
    Talk talk;
    talk.SendBytes(whole.substr(0, cut));
    size_t end = 0;
    size_t complete = 0;
    while (complete < messages.size() && end + messages[complete].size() <= cut) end += messages[complete++].size();
    ASSERT_EQ(talk.End(), end == cut ? 0 : 1) << cut;
    for (size_t i = 0; i < complete; ++i) ASSERT_FALSE(talk.Receive().contains("end")) << cut;
    ASSERT_EQ(talk.Receive().is_null(), end == cut) << cut;
  }
}

TEST_F(BridgeHostTest, RequestThatIsAskedAgainIsNotDoneAgain) {
  Talk talk;
  talk.Open();
  const json answer = talk.Call("zubInit");
  const auto again = [&](uint64_t number) {
    talk.last = number - 1;
    return talk.Call("zubInit");
  };
  EXPECT_EQ(again(2), answer);
  EXPECT_THAT(agent.TakeCalls(), ElementsAre("ZUB_Init()"));
  for (uint64_t number = 3; number <= 17; ++number) again(number);
  EXPECT_EQ(again(2), answer);
  EXPECT_EQ(agent.TakeCalls().size(), 15U);
  again(18);
  EXPECT_THAT(again(2).value("end", ""), HasSubstr("out of order"));
}

TEST_F(BridgeHostTest, LongMessagesGoInPieces) {
  Talk talk;
  talk.Open();
  const string name = "\"\\" + string(700'000, '"') + "\xE2\x82\xAC";
  const string request = json({{"n", 2}, {"on", 1}, {"do", "get"}, {"name", name}}).dump();
  Bridge::WriteMessage(request, [&](const string& piece) {
    EXPECT_LT(piece.size(), size_t{1} << 20);
    talk.Send(piece);
  });
  EXPECT_EQ(talk.Receive()["n"], 2);
  talk.last = 2;
  string joined;
  for (json piece = talk.Call(name);; piece = talk.Receive()) {
    EXPECT_LT(piece.dump().size(), size_t{1} << 20);
    joined += piece.at("text").get<string>();
    if (piece["piece"] == piece["of"]) break;
  }
  EXPECT_EQ(json::parse(joined)["error"], "the plug-in refused " + name);
  talk.Send(R"({"piece":1,"of":2,"text":"{"})");
  talk.Send(R"({"n":4,"on":1,"do":"destroy"})");
  EXPECT_EQ(talk.Receive()["end"], "a piece is missing");
}

TEST_F(BridgeHostTest, ValuesPassUnchanged) {
  // To the probe and back: what comes back as nothing here is told by its keys.
  const std::pair<string, string> rows[] = {
      {"null", ""},
      {"true", ""},
      {"7", ""},
      {"-2147483648", ""},
      {R"("a\u0000b€😀")", ""},
      {R"({"undefined":true})", ""},
      {"2147483648", "2147483648.0"},
      {"3.0", "3"},
      {"0.5", ""},
      {"1e300", "1e+300"},
      {"-0.0", R"({"number":"-0"})"},
      {R"({"number":"NaN"})", ""},
      {R"({"number":"-Infinity"})", ""},
      {R"({"number":"-0"})", ""},
      {R"({"object":[["version",{"object":[["OTP","1"]]}],["other",1]]})",
       R"({"object":[["version",{"object":[["OTP","1"]]}]]})"},
      {R"({"object":[["0",1],["2","x"],["length",3]]})", R"({"array":[1,{"undefined":true},"x"]})"},
      {R"({"function":3})", R"({"object":[]})"},
      {R"({"unreadable":true})", R"({"object":[]})"},
  };
  Talk talk(KSV_PROBE);
  talk.Open();
  for (const auto& [given, expected] : rows) {
    EXPECT_EQ(talk.Call("echo", {json::parse(given)})["value"].dump(), expected.empty() ? given : expected);
  }
  EXPECT_EQ(talk.Call("keys", {json::parse(R"({"object":[["a",1],["7",2],["07",3]]})")})["value"], "a #7 07 ");
  talk.told.clear();
  talk.Call("call", {Function(5), 1, "x", Function(5)});
  EXPECT_THAT(talk.told, ElementsAre(json::parse(R"({"run":5,"arguments":[1,"x",{"object":[]}]})"),
                                     json::parse(R"({"forget":[[5,2]]})")));
  EXPECT_EQ(talk.Call("raise", {"why"})["error"], "why");
}

TEST_F(BridgeHostTest, UnreadableArgumentIsRefusedByTheModule) {
  Talk talk;
  talk.Open();
  EXPECT_EQ(talk.Call("zubReceiveData", {"app", Object({}), 0, 8})["value"]["object"][0][1], 0);
  for (const json& value : {json{{"unreadable", true}}, json{{"plugin", 3}}}) {
    EXPECT_EQ(talk.Call("zubReceiveData", {"app", value, 0, 8})["value"], Object({{"pluginRetCode", 13}})) << value;
  }
}

TEST_F(BridgeHostTest, FunctionsLiveAsLongAsTheModuleHoldsThem) {
  Talk talk;
  talk.Open();
  const auto set = [&](uint32_t function) { return talk.Call("setMouseUpCallback", {Function(function)}); };
  set(1);
  set(1);
  talk.Call("zubInit", {Function(2), Object({{"a", Function(2)}})});
  set(1);
  EXPECT_THAT(talk.told, ElementsAre(Forgotten({{2, 2}})));
  set(2);
  set(1);
  EXPECT_THAT(talk.told, ElementsAre(testing::_, Forgotten({{1, 3}}), Forgotten({{2, 1}})));
  talk.Call("zubInit", {Function(4), Function(3), Function(4)});
  EXPECT_EQ(talk.told.back(), Forgotten({{3, 1}, {4, 2}}));
  talk.Ask({{"do", "destroy"}});
  EXPECT_EQ(talk.told.back(), Forgotten({{1, 1}}));
  EXPECT_EQ(talk.Call("zubInit")["error"], "the plug-in's instance has ended");
  talk.End();  // There is one host in a process.
  Talk broken;
  broken.Open();
  broken.Call("setMouseUpCallback", {Function(1)});
  broken.Send("[]");
  EXPECT_TRUE(broken.Receive().contains("end"));
  EXPECT_EQ(broken.Receive(), json()) << "nothing follows the end, nor what the module lets go of then";
}

TEST_F(BridgeHostTest, EventsComeInOrderWhileThePageCallsAndWaits) {
  Talk talk;
  talk.Open();
  EXPECT_EQ(talk.Call("zubRegisterEventCallback", {"app", Function(4)})["value"],
            Object({{"pluginRetCode", 0}, {"fnRetCode", 0}}));
  constexpr int kEvents = 500;
  std::thread library([this] {
    for (int i = 0; i < kEvents; ++i) raise("app", 3, "abc", static_cast<uint8_t>(i));
  });
  for (int i = 0; i < 50; ++i) talk.Call("zubInit");
  while (talk.told.size() < kEvents) talk.told.push_back(talk.Receive());
  library.join();
  for (int i = 0; i < kEvents; ++i) {
    const json event = Object({{"b64Data", "YWJj\n"}, {"appName", "app"}, {"dataSrc", i % 256}});
    ASSERT_EQ(talk.told[static_cast<size_t>(i)], (json{{"run", 4}, {"arguments", json::array({event})}})) << i;
  }
  talk.Call("zubRegisterEventCallback", {"other", Object({})});
  raise("other", 3, "abc", 1);
  EXPECT_EQ(talk.Call("zubInit")["value"]["object"][0][1], 0) << "what is no function can't be called";
}

TEST_F(BridgeHostTest, OriginIsWhatTheBrowserAttests) {
  environment.Write("KSV_tokens/https_page.example/alice.token", "x");
  const json alice = {{"array", {"alice.token"}}};
  const std::tuple<string, string, json> rows[] = {
      {"https://page.example", "https://page.example/a?b", alice},
      {"https://page.example", "about:blank", alice},
      {"https://page.example", "blob:https://page.example/1", alice},
      {"https://page.exampl", "https://page.example/", {{"array", json::array()}}},
      {"null", "https://page.example/", nullptr},
      {"", "https://page.example/", nullptr}};
  for (const auto& [origin, address, expected] : rows) {
    Talk talk;
    talk.Open({{"hello", 1}, {"origin", origin}, {"address", address}});
    const json value = talk.Call("zubEnumerateTokensDomainBinding")["value"];
    EXPECT_EQ(value.is_null() ? value : value["object"].back()[1], expected) << origin << " " << address;
  }
}

TEST_F(BridgeHostTest, MissingModuleIsToldWithWhatToDo) {
  for (const string& module : {string("none.dll"), string(KSV_STUBS "/full/zub.dll")}) {
    Talk talk(module);
    talk.Send(kHello.dump());
    talk.Receive();
    talk.Send(kCreate.dump());
    EXPECT_THAT(talk.Receive().value("error", ""),
                testing::AllOf(testing::StartsWith(module.substr(0, 2)), HasSubstr("Install")));
    EXPECT_EQ(talk.End(), 0);
  }
}

TEST_F(BridgeHostTest, LibraryThatHangsDoesNotKeepTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto leave = [this] {
    std::promise<void> called;
    agent.On("ZUB_Init", [&](AgentCall&) {
      called.set_value();
      std::promise<void>().get_future().wait();
    });
    Talk talk(KSV_MODULE, std::chrono::milliseconds(20));
    talk.Open();
    talk.Send(R"({"n":2,"on":1,"do":"call","name":"zubInit","arguments":[]})");
    called.get_future().wait();
    talk.End();
  };
  EXPECT_EXIT(leave(), testing::ExitedWithCode(1), "hangs");
}

TEST_F(BridgeHostTest, ProgramServesTheExtensionOnly) {
  const auto write = [this](const char* name, const string& bytes) {
    const std::filesystem::path path = environment.Scratch() / name;
    std::ofstream(path, std::ios::binary) << bytes;
    return path.string();
  };
  const string chromium = "chrome-extension://" KSV_CHROMIUM_ID "/";
  const string manifest = write("good", json{{"allowed_extensions", {"other", KSV_FIREFOX_ID}}}.dump());
  const std::pair<std::vector<string>, bool> rows[] = {
      {{chromium}, true},
      {{chromium, "--parent-window=0"}, true},
      {{manifest, KSV_FIREFOX_ID}, true},
      {{}, false},
      {{chromium, "more"}, false},
      {{"chrome-extension://abcdefghijklmnopabcdefghijklmnop/"}, false},
      {{manifest, "other"}, false},
      {{manifest + "none", KSV_FIREFOX_ID}, false},
      {{write("bad", "{\"allowed_extensions\": \"" KSV_FIREFOX_ID "\"}"), KSV_FIREFOX_ID}, false},
  };
  for (const auto& [arguments, isServed] : rows) {
    std::vector<string> line{"ksv-bridge"};
    line.insert(line.end(), arguments.begin(), arguments.end());
    EXPECT_EQ(!Bridge::RefuseCaller(line), isServed) << testing::PrintToString(arguments);
  }
  const string in = write("in", Framed(kHello.dump()) + Framed(kCreate.dump()));
  const string out = write("out", "");
  const auto run = [&](const string& argument) {
    const int status = std::system((KSV_BRIDGE " " + argument + " <" + in + " >" + out).c_str());
    return status > 255 ? status >> 8 : status;
  };
  EXPECT_EQ(run("someone"), 2);
  EXPECT_EQ(run(chromium), 0);
  std::ifstream answers(out, std::ios::binary);
  EXPECT_EQ(string(std::istreambuf_iterator<char>(answers), {}),
            Framed(R"({"hello":1,"host":"5.0.9"})") + Framed(R"({"n":1,"value":{"undefined":true}})"));
}

// Run with the other soak test, as often as that.
class SoakTestOfBridge : public BridgeHostTest {};

TEST_F(SoakTestOfBridge, HostServesAPageAtFlatMemory) {
  const char* const asked = std::getenv("KSV_SOAK_CALLS");
  const size_t calls = asked ? std::strtoul(asked, nullptr, 10) : 3'000;
  Talk talk;
  talk.Open();
  LiveMemory warm{};
  for (size_t i = 0; i < calls; ++i) {
    talk.Call("zubReceiveData", {"app", Object({{"a", 1}}), i, Function(i + 1)});
    talk.told.clear();
    if (i == 0 || i % 1'000 != 0) continue;
    agent.TakeCalls();
    const LiveMemory now = CountLiveMemory();
    if (i == 1'000) warm = now;
    ASSERT_LE(now.bytes, warm.bytes + 16'384) << "after " << i << " calls";
  }
}
