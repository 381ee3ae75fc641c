// An image that the page holds as a frame: the set-up message's bytes, and what each step takes and gives.
#include <cstring>

#include "tests/support/display_fixture.h"

using namespace support;

class DisplayRemoteTest : public DisplayTest {
 protected:
  DisplayRemoteTest() { Answer("key", 3); }

  void Answer(const std::string& key, uint32_t length, int32_t status = 0) {
    display.On("WYSSendRecv", [=](DisplayCall& call) {
      std::memcpy(call.bytes, key.data(), key.size());
      *call.length = length;
      call.status = status;
    });
  }
  std::string Put(const std::map<size_t, Value>& changed = {}) {
    Arguments arguments{"qrvM", 5, "3e4=", "/w==", "", "ZnJhbWU=", "{7,8}", "{60,40}"};
    for (const auto& [index, value] : changed) arguments[index] = value;
    return page.Call("wysProcessRemoteWysMessage", arguments).Show();
  }
  static std::string SendRecv(const std::string& message) { return "WYSSendRecv(0, 0, 250, <" + message + ", >32, 1)"; }

  const std::string setUp = SendRecv("0003aabbccddee0001ff");
  const std::string setKey = "WYSSetStreamKey(0, <6b6579)";
  const std::string submit = "WYSSubmitFrame(0, 5, {7,8}, <6672616d65)";
  const std::string repaint = "WYSRepaintImage(0, 5)";
};

TEST_F(DisplayRemoteTest, EachStepTakesWhatTheOneBeforeGave) {
  EXPECT_EQ(Put(), kWentWell);
  EXPECT_EQ(display.TakeCalls(), (Calls{setUp, setKey, submit, repaint}));
  EXPECT_EQ(State().displayActive, 1u);
  EXPECT_EQ(State().imageWidth, 60);
  EXPECT_EQ(State().imageHeight, 40);
  EXPECT_EQ(Put({{7, "no size"}}), kWentWell);
  EXPECT_EQ(display.TakeCalls(), (Calls{"WYSReleaseImage(0, 5)", setUp, setKey, submit, repaint}));
  EXPECT_EQ(State().imageWidth, 0);
}

TEST_F(DisplayRemoteTest, FirstRefusalEndsIt) {
  const std::pair<const char*, std::string> steps[] = {
      {"WYSSendRecv", setUp}, {"WYSSetStreamKey", setKey}, {"WYSSubmitFrame", submit}, {"WYSRepaintImage", repaint}};
  Calls expected;
  for (const auto& [entry, call] : steps) {
    display.Refuse(entry, 6);
    EXPECT_EQ(Put(), "pluginRetCode=0 fnRetCode=6");
    expected.push_back(call);
    EXPECT_EQ(display.TakeCalls(), expected);
    EXPECT_EQ(State().displayActive + State().remoteImagePresent, 0u);
    EXPECT_EQ(State().Display().HasImage(), call == repaint) << "it stands, though it is not painted";
    display.Refuse(entry, 0);
    Answer("key", 3);
  }
}

TEST_F(DisplayRemoteTest, PartsThatAreMissingAreEmpty) {
  EXPECT_EQ(Put({{0, ""}, {2, ""}, {3, ""}, {5, ""}}), kWentWell);
  EXPECT_EQ(display.TakeCalls(), (Calls{SendRecv("00000000"), setKey, "WYSSubmitFrame(0, 5, {7,8}, null)", repaint}));
  Answer("", 0);
  EXPECT_EQ(Put(), kWentWell) << "an answer without a key ends it well";
  EXPECT_EQ(display.TakeCalls(), (Calls{"WYSReleaseImage(0, 5)", setUp}));
  Answer("key", 3);
  EXPECT_EQ(Put({{6, "no point"}}), kWentWell);
  EXPECT_EQ(display.TakeCalls(), (Calls{"WYSReleaseImage(0, 5)", setUp, setKey}));
  Answer("key", 33);
  EXPECT_EQ(Put(), "pluginRetCode=13 fnRetCode=34") << "more than it had room for";
  EXPECT_EQ(display.TakeCalls(), (Calls{"WYSReleaseImage(0, 5)", setUp}));
}

TEST_F(DisplayRemoteTest, LengthFieldTakesTheLow16Bits) {
  std::string message;
  display.On("WYSSendRecv", [&](DisplayCall& call) { message = call.shown; });
  EXPECT_EQ(Put({{0, std::string(65536 / 3 * 4 + 4, 'A')}, {2, ""}, {3, ""}}), kWentWell);
  EXPECT_EQ(message, SendRecv("0002" + std::string(size_t{65538} * 2, '0') + "0000"));
}

TEST_F(DisplayRemoteTest, TokenComesFromThePageOrItsFolder) {
  environment.Write("KSV_tokens/https_page.example/token", "T");
  ScriptObject& window = page.Window();
  EXPECT_EQ(Put({{3, ""}, {4, "token"}}), kWentWell);
  EXPECT_EQ(display.TakeCalls().at(0), SendRecv("0003aabbccddee000154"));
  page.Call("wysCloseSession");
  display.TakeCalls();
  EXPECT_EQ(Put({{4, "no such token"}}), kWentWell) << "the page's own wins, and the file is not looked at";
  EXPECT_EQ(display.TakeCalls().at(0), setUp);
  page.Call("wysCloseSession");
  display.TakeCalls();
  EXPECT_EQ(Put({{3, ""}, {4, "no such token"}}), "pluginRetCode=13 fnRetCode=34");
  window.Define("location", []() -> Value { throw std::logic_error("no origin is asked for"); });
  EXPECT_EQ(Put({{3, ""}}), kWentWell);
  EXPECT_EQ(display.TakeCalls().at(0), SendRecv("0003aabbccddee0000"));
}

TEST_F(DisplayRemoteTest, CallsAreToldToTheDebugger) {
  platform::DebugOutputCapture output;
  EXPECT_EQ(page.Call("wysProcessRemoteWysMessage").Show(), "pluginRetCode=12");
  EXPECT_EQ(output.lines(), (Calls{"Plugin ProcessRemoteWys entered", "Plugin invalid args"}));
  page.Call("wysCreateStdImage", Image({{10, "{1,1}"}, {11, "AAAA"}}));
  page.Call("wysCreateStdImage", Image({{11, "AAAA"}}));
  page.Call("setDisplayEventsCallback", {Callback()});
  Calls lines = output.lines();
  lines.erase(lines.begin(), lines.begin() + 2);
  EXPECT_EQ(lines, (Calls{"logo buffer len 4", "Copying logo buffer 3", "logo buffer len 4",
                          "CreateStad : Invalid logo length provided", "Display callback is set"}));
}
