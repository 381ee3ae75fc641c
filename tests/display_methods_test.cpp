// The display's script methods: what reaches the library, what the page gets, and what stands between two calls.
#include <cstring>

#include "display/wys_point.h"
#include "tests/support/display_fixture.h"

using namespace support;
using NorvoWebAPI::KSV::displayInitCount;
using NorvoWebAPI::KSV::ParsePoint;

namespace {

constexpr char kNotCalled[] = "pluginRetCode=0 fnRetCode=34";
constexpr char kStartCode[] = "pluginRetCode=13";

using Answer = DisplayStub::Answer;

Answer Fills(const std::string& bytes, uint32_t length, int32_t status = 0) {
  return [=](DisplayCall& call) {
    if (call.bytes) std::memcpy(call.bytes, bytes.data(), std::min<size_t>(bytes.size(), call.size));
    *call.length = length;
    call.status = status;
  };
}

}  // namespace

class DisplayMethodsTest : public DisplayTest {};

TEST_F(DisplayMethodsTest, PointsAreReadAsFarAsTheyGo) {
  const auto read = [](const char* text) {
    WysPoint point{11, 12};
    const bool isPoint = ParsePoint(text, &point);
    return std::tuple(isPoint, int{point.x}, int{point.y});
  };
  const std::tuple<const char*, int, int> points[] = {{"{120,45}", 120, 45}, {"{ 7 , 8 }", 7, 8},    {"{a,b}", 0, 0},
                                                      {"{-1,2}", 65535, 2},  {"{70000,1}", 4464, 1}, {",{5}", 5, 0}};
  for (const auto& [text, x, y] : points) EXPECT_EQ(read(text), std::tuple(true, x, y)) << text;
  for (const char* text : {"{1,2,3}", "}1,{", "{1}", "1,2}", "", static_cast<const char*>(nullptr)}) {
    EXPECT_EQ(read(text), std::tuple(false, 11, 12)) << text;
  }
}

TEST_F(DisplayMethodsTest, EachMethodAsksTheLibraryWithWhatThePageKeeps) {
  const auto window32 = std::to_string(static_cast<uint32_t>(reinterpret_cast<uintptr_t>(window.handle())));
  display.On("WYSGetVersion", [](DisplayCall& call) { *call.value = 0x80000001; });
  display.On("WYSStatusToString", [](DisplayCall& call) { call.text[0] = 'k'; });
  display.On("WYSCreateStdImage", [](DisplayCall& call) { std::memcpy(call.bytes + 6, "\xAA\0\0\0\x60\0\x30\0", 8); });
  display.On("WYSSendRecv", Fills("abc", 3));
  const struct {
    const char* method;
    Arguments arguments;
    Calls calls;
    std::string answer = kWentWell;
  } steps[] = {{"wysInit", {5, "text"}, {"WYSInit(5, 'text')"}},
               {"wysEstablishSession",
                {},
                {"WYSEstablishSession(" + window32 + ", 65535, 70)", "WYSRegisterEvents(7, 2, callback)"}},
               {"wysRepaintImage", {}, {}, kNotCalled},
               {"wysCreateStdImage",
                Image(),
                {"WYSCreateStdImage(7, {3,4}, descriptor of 50, 0, 0)", "WYSRepaintImage(7, 9)"},
                "pluginRetCode=0 fnRetCode=0 ImageId=170"},
               {"wysMouseDown", {"{1,2}"}, {"WYSMouseDown(7, 9, {1,2})"}},
               {"wysMouseUp", {"{3,4}"}, {"WYSMouseUp(7, 9, {3,4})"}},
               {"wysMouseUp", {"no point"}, {}, kNotCalled},
               {"wysClearButton", {}, {"WYSClearInput(7, 9)"}},
               {"wysRepaintImage", {}, {"WYSRepaintImage(7, 9)"}},
               {"wysSubmitButton", {host.Object()}, {"WYSSubmitInput(7, 9, null, 0)"}},
               {"wysGetVersion", {}, {"WYSGetVersion()"}, "pluginRetCode=0 fnRetCode=0 version=-2147483647"},
               {"wysStatusToString", {42}, {"WYSStatusToString(256, 42)"}, "pluginRetCode=0 fnRetCode=0 status='k'"},
               {"wysSendRecv",
                {3, "aGk=", 16, 4294967295.0},
                {"WYSSendRecv(70, 7, 3, <6869, >16, -1)"},
                "pluginRetCode=0 fnRetCode=0 b64WysData='YWJj' Length=9"},
               {"wysGetButtonUpCount", {1, 2, 3}, {}, "pluginRetCode=0 ButtonUpCount=0"},
               {"wysCancelButton", {}, {"WYSReleaseImage(7, 9)"}},
               {"wysSubmitFrame", {4000000000.0, "{8,9}", "aGk="}, {"WYSSubmitFrame(7, 4000000000, {8,9}, <6869)"}},
               {"wysCloseSession", {}, {"WYSCloseSession(7)"}},
               {"wysRepaintImage", {}, {}, kNotCalled},
               {"wysDeInit", {}, {"WYSDeInit(70)"}},
               {"wysInit", {5, ""}, {"WYSInit(5, null)"}}};
  for (const auto& [method, arguments, calls, answer] : steps) {
    EXPECT_EQ(page.Call(method, arguments).Show(), answer) << method;
    EXPECT_EQ(display.TakeCalls(), calls) << method;
  }
  EXPECT_EQ(State().imageWidth, 0x60);
  EXPECT_EQ(State().imageHeight, 0x30);
}

TEST_F(DisplayMethodsTest, RefusalsAreThePagesToRead) {
  page.Call("wysInit", {0, ""});
  for (const char* entry : {"WYSEstablishSession", "WYSCreateStdImage", "WYSSubmitFrame", "WYSSendRecv"}) {
    display.Refuse(entry, 42 + 1);
  }
  const std::pair<const char*, Arguments> refused[] = {{"wysEstablishSession", {}},
                                                       {"wysCreateStdImage", Image({{0, 3}})},
                                                       {"wysSubmitFrame", {1, "{1,2}", "aGk="}},
                                                       {"wysSendRecv", {1, "", 4, 0}}};
  for (const auto& [method, arguments] : refused)
    EXPECT_EQ(page.Call(method, arguments).Show(), "pluginRetCode=0 fnRetCode=43") << method;
  EXPECT_EQ(page.Call("wysSubmitFrame", {1, "{1,2}", ""}).Show(), kNotCalled);
  Page without(host);
  NPWindow none{};
  ASSERT_EQ(Module().setwindow(without.Instance(), &none), NPERR_NO_ERROR);
  EXPECT_EQ(without.Call("wysEstablishSession").Show(), kStartCode) << "no window";
  EXPECT_EQ(page.Call("wysRepaintImage").Show(), kNotCalled) << "none of them has left an image";
  EXPECT_EQ(State().displayActive, 0u);
  EXPECT_EQ(State().inputType, 3) << "kept for an image that failed too";

  display.Refuse("WYSRegisterEvents", 8);
  display.On("WYSEstablishSession", [](DisplayCall& call) {
    *call.value = 7;
    call.status = 42;
  });
  EXPECT_EQ(page.Call("wysEstablishSession").Show(), "pluginRetCode=16 fnRetCode=8");
  display.Refuse("WYSRegisterEvents", 0);
  EXPECT_EQ(page.Call("wysEstablishSession").Show(), kWentWell) << "a session that stands will do";

  display.Refuse("WYSCreateStdImage", 0);
  display.Refuse("WYSRepaintImage", 6);
  EXPECT_EQ(page.Call("wysCreateStdImage", Image()).Show(), "pluginRetCode=0 fnRetCode=6 ImageId=9");
  EXPECT_EQ(State().displayActive, 1u);
}

TEST_F(DisplayMethodsTest, OnlyAWholeLibraryIsOne) {
  DisplayStub seventeen(environment, "seventeen");
  Page half(host, "https://page.example/", window.handle());
  environment.SetLibraryFolder(environment.Scratch());
  Page none(host, "https://page.example/", window.handle());
  for (const Page* const asked : {&half, &none}) {
    EXPECT_EQ(asked->Call("wysInit", {0, ""}).Show(), "pluginRetCode=10 fnRetCode=34");
    EXPECT_EQ(asked->Call("wysStatusToString", {0}).Show(), "pluginRetCode=10 fnRetCode=34");
    platform::DebugOutputCapture output;
    EXPECT_EQ(asked->Call("wysProcessRemoteWysMessage", Arguments(8, "")).Show(), "pluginRetCode=10 fnRetCode=34");
    EXPECT_EQ(output.lines().size(), 6u) << "entered, calling, and four functions not found";
  }
  EXPECT_EQ(displayInitCount.Total(), 0);
}

// The header's bytes, as the library finds them.
TEST_F(DisplayMethodsTest, DescriptorLiesAsTheLibraryReadsIt) {
  std::string header;
  display.On("WYSCreateStdImage",
             [&](DisplayCall& call) { header.assign(reinterpret_cast<const char*>(call.bytes), call.size); });
  page.Call("wysCreateStdImage", Image({{0, 0x1FE}, {1, double{0xC0B0A090}}, {10, "{2,1}"}, {11, "AQIDBAUG"}}));
  const char expected[] =
      "\x00\xFE\0\0\0\0\x90\xA0\xB0\xC0\x64\0\x32\0\x00\x05\0\x06\0\0\0\x41\x04\x03\x02\x01\0\0\0\0\0\0\0\0"
      "\x14\x13\x12\x11\0\0\0\0\x24\x23\x22\x21\x02\0\x01\0\x01\x02\x03\x04\x05\x06";
  EXPECT_EQ(header, std::string(expected, sizeof expected - 1));
}

TEST_F(DisplayMethodsTest, LogoOfAnotherSizeIsLeftOut) {
  const std::tuple<const char*, std::string, uint32_t> cases[] = {
      {"{2,2}", "AAAAAAAAAAAAAAAA", 62},
      {"{2,2}", "AAAAAAAAAAAAAAA=", 50},
      {"{2,2}", "AAAAAAAAAAAAAAAAAA==", 50},
      {"no size", "AAAA", 50},
      {"{65535,65535}", "AAAA", 50},
      {"{62571,45761}", "AA==", 50}  // Three times that many is 1 beyond twice 2^32.
  };
  for (const auto& [size, text, descriptor] : cases) {
    page.Call("wysCreateStdImage", Image({{2, "none"}, {10, size}, {11, text}}));
    const Calls calls = display.TakeCalls();
    EXPECT_EQ(calls.at(0), "WYSCreateStdImage(0, {0,0}, descriptor of " + std::to_string(descriptor) + ", 0, 0)")
        << size;
  }
}

TEST_F(DisplayMethodsTest, InputGoesOutAsTheImageWantsIt) {
  EXPECT_EQ(page.Call("wysSubmitButton", {"text"}).Show(), kStartCode) << "no image yet";
  page.Call("wysCreateStdImage", Image({{0, 3}}));
  display.TakeCalls();
  for (const Value& wrong : {Value(""), Value(7), Value(nullptr), Value(host.Object())}) {
    EXPECT_EQ(page.Call("wysSubmitButton", {wrong}).Show(), kStartCode);
  }
  EXPECT_EQ(display.TakeCalls(), Calls{});
  EXPECT_EQ(page.Call("wysSubmitButton", {"abc"}).Show(), kWentWell);
  EXPECT_EQ(display.TakeCalls(), Calls{"WYSSubmitInput(0, 9, 'abc', 3)"});
}

TEST_F(DisplayMethodsTest, ResponseIsAskedForTwice) {
  const std::string entry = "WYSSubmitInputAndGetResponse";
  const std::tuple<Answer, Answer, const char*> cases[] = {
      {Fills("", 0, 9), Fills("abc", 3), "pluginRetCode=0 fnRetCode=9 ClientInput=''"},
      {Fills("", 3), Fills("abc", 3, 9), "pluginRetCode=0 fnRetCode=9 ClientInput=''"},
      {Fills("", 3), Fills("abc", 0), "pluginRetCode=0 fnRetCode=0 ClientInput=''"},
      {Fills("", 3), Fills("abc", 4), "pluginRetCode=13 fnRetCode=0 ClientInput=''"},
      {Fills("", 0xFFFFFFFF), Fills("abc", 3), "pluginRetCode=13 fnRetCode=0 ClientInput=''"},
      {Fills("", 3, 9), Fills("abc", 3), "pluginRetCode=0 fnRetCode=0 ClientInput='YWJj'"}};
  for (const auto& [first, second, shown] : cases) {
    display.TakeCalls();
    display.On(entry,
               [&, &first = first, &second = second](DisplayCall& call) { (call.bytes ? second : first)(call); });
    EXPECT_EQ(page.Call("wysProcessSubmitAndGetResponse").Show(), shown);
  }
  EXPECT_EQ(display.TakeCalls(), (Calls{entry + "(0, 0, >0/null)", entry + "(0, 0, >3)"}));
}

TEST_F(DisplayMethodsTest, ReceivedBytesStayWithinTheRoom) {
  const std::tuple<Value, uint32_t, const char*> cases[] = {
      {0, 0, kWentWell},
      {4, 4, "pluginRetCode=0 fnRetCode=0 b64WysData='YWJjAA==' Length=11"},
      {4, 5, "pluginRetCode=13 fnRetCode=0"},
      {4, 0xFFFFFFFF, "pluginRetCode=13 fnRetCode=0"},
      {0, 1, "pluginRetCode=13 fnRetCode=0"},
      {-1, 0, "pluginRetCode=13 fnRetCode=34"},
      {2147483648.0, 0, "pluginRetCode=13 fnRetCode=34"}};
  for (const auto& [capacity, received, answer] : cases) {
    display.On("WYSSendRecv", Fills("abc", received));
    EXPECT_EQ(page.Call("wysSendRecv", {1, "", capacity, 0}).Show(), answer);
  }
}

TEST_F(DisplayMethodsTest, StatusTextsAreCutToTheirRoom) {
  display.On("WYSStatusToString", [](DisplayCall& call) {
    std::fill_n(call.text, call.size, static_cast<WCHAR>('s'));
    call.status = 77;
  });
  EXPECT_EQ(page.Call("wysStatusToString", {1}).Show(),
            "pluginRetCode=0 fnRetCode=77 status='" + std::string(127, 's') + "'");
  display.Refuse("WYSGetVersion", 3);
  EXPECT_EQ(page.Call("wysGetVersion").Show(), "pluginRetCode=0 fnRetCode=3");
  display.Refuse("WYSStatusToString", 3);
  EXPECT_EQ(page.Call("wysStatusToString", {1}).Show(), "pluginRetCode=0 fnRetCode=3 status=''");
}

TEST_F(DisplayMethodsTest, InitialisationLeavesAnImageAlone) {
  ShowImage(page, {{0, 3}});
  State().buttonUpCount = 4;
  page.Call("wysInit", {0, ""});
  EXPECT_EQ(State().sessionId, 7u);
  EXPECT_EQ(State().buttonUpCount, 4u);
  EXPECT_EQ(page.Call("wysDeInit", {1}).Show(), "pluginRetCode=12");
  EXPECT_EQ(State().buttonUpCount, 0u) << "the clicks are counted anew whatever becomes of the call";
  State().buttonUpCount = 4;
  page.Call("wysCloseSession");
  EXPECT_EQ(State().displayContext, 70u);
  EXPECT_EQ(State().buttonUpCount + State().imageId + State().displayActive + static_cast<uint32_t>(State().inputType),
            0u);
  page.Call("wysInit", {0, ""});
  EXPECT_EQ(State().sessionId, 0u);
}

TEST_F(DisplayMethodsTest, ImageEndsWithWhatTheLibraryWasTold) {
  const std::tuple<const char*, const char*, int32_t, bool> cases[] = {
      {"wysDeInit", "WYSDeInit", 0, false},
      {"wysInit", "WYSInit", 6, true},
      {"wysInit", "WYSInit", 0, false},
      {"wysCloseSession", "WYSCloseSession", 6, false}};
  for (const auto& [method, entry, status, stands] : cases) {
    ShowImage(page);
    display.Refuse(entry, status);
    page.Call(method, method == std::string("wysInit") ? Arguments{0, ""} : Arguments{});
    EXPECT_EQ(State().Display().HasImage(), stands) << method << status;
    display.On("WYSInit", [](DisplayCall& call) { *call.value = 70; });
  }
}

TEST_F(DisplayMethodsTest, PageThatGoesLeavesTheLibraryAsItFoundIt) {
  const Calls closing{"WYSRegisterEvents(7, 2, no callback)", "WYSCloseSession(7)", "WYSDeInit(70)"};
  for (const bool othersHaveIt : {false, true}) {
    if (othersHaveIt) page.Call("wysInit", {0, ""});
    Page going(host, "https://page.example/", window.handle());
    ShowImage(going);
    going.End();
    // Else the page's own session goes with the library.
    EXPECT_EQ(display.TakeCalls(), othersHaveIt ? closing : Calls{"WYSDeInit(70)"});
    EXPECT_EQ(displayInitCount.Total(), othersHaveIt);
  }
}

TEST_F(DisplayMethodsTest, FramesReplaceOneAnother) {
  const auto submit = [&](int32_t imageId) { return page.Call("wysSubmitFrame", {imageId, "{1,2}", "aGk="}).Show(); };
  EXPECT_EQ(submit(1), kWentWell);
  EXPECT_EQ(display.TakeCalls(), Calls{"WYSSubmitFrame(0, 1, {1,2}, <6869)"});
  EXPECT_EQ(State().displayActive, 1u);
  EXPECT_EQ(submit(2), kWentWell);
  EXPECT_EQ(display.TakeCalls(), (Calls{"WYSReleaseImage(0, 1)", "WYSSubmitFrame(0, 2, {1,2}, <6869)"}));
  display.Refuse("WYSReleaseImage", 5);
  EXPECT_EQ(submit(3), "pluginRetCode=0 fnRetCode=5");
  EXPECT_EQ(State().imageId, 2u);
  EXPECT_EQ(page.Call("wysProcessRemoteWysMessage", {"", 4, "", "", "", "", "{1,2}", ""}).Show(),
            "pluginRetCode=0 fnRetCode=5");
  EXPECT_EQ(State().imageId, 4u);
  EXPECT_EQ(State().remoteImagePresent, 1u);
}

TEST_F(DisplayMethodsTest, SettersTakeOneFunctionOfThePage) {
  for (const char* setter : {"setMouseDownCallback", "setMouseUpCallback", "setWindowEventCallback",
                             "setRepaintImageCallback", "setDisplayEventsCallback"}) {
    for (const Arguments& wrong : {Arguments{}, Arguments{7}, Arguments{nullptr}, Arguments{page.Object()}}) {
      EXPECT_EQ(page.Call(setter, wrong).Show(), "failed") << setter;
    }
    for (int i = 0; i < 2; ++i) EXPECT_TRUE(page.Call(setter, {Callback()}).Answered()) << setter;
  }
  for (const char* setter : {"setRepaintImageCallback", "setDisplayEventsCallback"}) {
    EXPECT_TRUE(page.Call(setter, {Callback(), "more"}).Answered()) << setter;
  }
}
