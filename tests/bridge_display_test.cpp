// The display's window of the native host: where it stands, when it is shown, what it is called, and how a click in it
// reaches the page.
#include <gmock/gmock.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "bridge/host/display_window.h"
#include "platform/desktop.h"
#include "tests/support/bridge_talk.h"
#include "tests/support/environment.h"
#include "tests/support/quiet_screen.h"

using namespace support;
using nlohmann::json;
using std::string;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

constexpr RECT kBrowser{100, 100, 900, 700};
const json kImage = {1, 9, "{0,0}", "{100,50}", 4, "{0,0}", 8, 0, 0, 0, "{0,0}", "", 0, 0};

string Caption(const string& origin) {
  string caption;
  for (const WCHAR letter : Bridge::CaptionOf(origin, 320, 20))
    caption += letter < 0x80 ? static_cast<char>(letter) : '*';
  return caption;
}

std::vector<LONG> Edges(const RECT& area) {
  return {area.left, area.top, area.right, area.bottom};
}

// On the screen.
RECT ClientArea(HWND window) {
  RECT client{};
  POINT begin{0, 0};
  GetClientRect(window, &client);
  ClientToScreen(window, &begin);
  return {begin.x, begin.y, begin.x + client.right, begin.y + client.bottom};
}

}  // namespace

TEST(DisplayWindowTest, StandsOverTheElementAndInsideTheBrowser) {
  Bridge::DisplayWindow window("https://bank.example", 320, 220);
  const RECT element{200, 300, 520, 520};
  window.MoveTo({element, kBrowser, true});
  EXPECT_EQ(Edges(ClientArea(window.Handle())), Edges(element));
  const RECT beyond[] = {
      {-500, -500, -180, -280}, {5000, 5000, 5320, 5220}, {-500, -500, 5000, 5000}, {100, 100, 420, 320}};
  for (const RECT& place : beyond) {
    window.MoveTo({place, kBrowser, true});
    RECT outside{};
    GetWindowRect(window.Handle(), &outside);
    EXPECT_TRUE(outside.left >= 100 && outside.top >= 100 && outside.right <= 900 && outside.bottom <= 700)
        << testing::PrintToString(Edges(outside));
  }
}

TEST(DisplayWindowTest, CaptionTellsWhoseThePageIs) {
  const std::pair<string, string> rows[] = {
      {"https://bank.example", "https://bank.example"},
      {"null", "no address"},
      {"", "no address"},
      {"https://b\xE2\x80\xAE.example", "https://b???.example"},
      {"https://" + string(60, 'w') + ".bank.example", "*" + string(19, 'w') + ".bank.example"}};
  for (const auto& [origin, caption] : rows) EXPECT_EQ(Caption(origin), caption);
  // A window manager's caption has buttons, which cut its text at the end.
  EXPECT_EQ(Bridge::CaptionOf("https://x.bank.com.de", 240, 0).size(), 1U + 8U);
}

// A page with an image, in the first instance.
class BridgeDisplayTest : public testing::Test {
 protected:
  BridgeDisplayTest() {
    display.On("WYSEstablishSession", [](DisplayCall& call) { *call.value = 7; });
    display.On("WYSRegisterEvents", [this](DisplayCall& call) {
      window = static_cast<HWND>(call.context);
      events = call.callback;
    });
    for (const char* entry : {"WYSMouseDown", "WYSMouseUp"}) {
      display.On(entry, [this](DisplayCall& call) {
        clicks.push_back(string(call.entry) + (Bridge::DisplayWindow::IsInClick() ? "" : " too late"));
      });
    }
    talk.Open();
    talk.Call("wysInit", {0, ""});
    talk.Call("wysEstablishSession");
    for (const uint64_t function : {1, 2}) {
      talk.Call(function == 1 ? "setMouseDownCallback" : "setMouseUpCallback", {json{{"function", function}}});
    }
  }

  void Place(bool isShown, uint32_t instance = 1) {
    talk.Send(
        json{{"on", instance}, {"place", {200, 300, 320, 220}}, {"within", {100, 100, 800, 600}}, {"shown", isShown}}
            .dump());
  }
  bool IsShown() {
    talk.Ask({{"do", "get"}, {"name", "version"}});
    return IsWindowVisible(window) != FALSE;
  }
  // Both at once, as the user's button is quicker than any page.
  void Click() {
    platform::MakeMouseInput(window, WM_LBUTTONDOWN, {10, 20});
    platform::MakeMouseInput(window, WM_LBUTTONUP, {10, 20});
  }
  static json Run(int function) {
    const json position = {{"object", json::parse(R"([["XCode",10],["YCode",20]])")}};
    return {{"run", function}, {"awaited", function}, {"arguments", json::array({position})}};
  }

  QuietScreen screen;
  Environment environment;
  DisplayStub display{environment};
  HWND window = nullptr;
  DisplayEventEntry events = nullptr;
  std::vector<string> clicks;
  Talk talk;
};

TEST_F(BridgeDisplayTest, WindowIsShownWhileItHasAnImageAndTheElementIsSeen) {
  const json frame = {8, "{0,0}", "AAAA"};
  const json remote = {"", 8, "", "", "", "", "{0,0}", "{1,1}"};
  struct Row {
    string method;
    json arguments;
    bool isShown;
    const char* refused = "";  // The library's entry point that fails.
  };
  const Row rows[] = {
      {"wysCreateStdImage", kImage, true},
      {"wysCancelButton", json::array(), false},
      {"wysCreateStdImage", kImage, false, "WYSCreateStdImage"},
      {"wysCreateStdImage", kImage, true, "WYSRepaintImage"},  // It was made all the same.
      {"wysSubmitFrame", frame, true, "WYSSubmitFrame"},       // Nothing was released for it.
      {"wysSubmitFrame", frame, true},
      {"wysSubmitFrame", {8, 9, "AAAA"}, true},  // The module refuses it.
      {"wysSubmitFrame", frame, false, "WYSSubmitFrame"},
      {"wysProcessRemoteWysMessage", remote, true},
      {"wysProcessRemoteWysMessage", remote, false, "WYSSendRecv"},
      {"wysCreateStdImage", kImage, true},
      {"wysProcessSubmitAndGetResponse", json::array(), true},
      {"wysCloseSession", json::array(), false, "WYSCloseSession"},
      {"wysCreateStdImage", kImage, true},
      {"wysProcessRemoteWysMessage", remote, true, "WYSSendRecv"},  // It is the session's first one.
      {"wysInit", {0, ""}, true},
      {"wysDeInit", json::array(), true},  // The total was 2.
      {"wysDeInit", json::array(), false, "WYSDeInit"},
      {"wysCreateStdImage", json::array(), false},
      {"wysCreateStdImage", kImage, true},
  };
  talk.Call("wysCreateStdImage", kImage);
  EXPECT_FALSE(IsShown()) << "before its place is known";
  Place(true);
  for (const auto& [method, arguments, isShown, refused] : rows) {
    if (*refused) display.Refuse(refused);
    talk.Call(method, arguments);
    EXPECT_EQ(IsShown(), isShown) << method << " " << refused;
    if (*refused) display.Refuse(refused, 0);
  }
  Place(false);
  EXPECT_FALSE(IsShown());
  Place(true);
  talk.Ask({{"do", "destroy"}});
  EXPECT_FALSE(IsWindow(window));
  Place(true);
  Place(true, 2);
  EXPECT_THAT(talk.Receive().value("end", ""), HasSubstr("no such instance"));
}

TEST_F(BridgeDisplayTest, PageAnswersAClickWithinItsDelivery) {
  talk.Call("wysCreateStdImage", kImage);
  Place(true);
  ASSERT_TRUE(IsShown());
  Click();
  for (const int function : {1, 2}) {
    EXPECT_EQ(talk.Receive(), Run(function));
    talk.told.clear();
    talk.Call(function == 1 ? "wysMouseDown" : "wysMouseUp", {"{10,20}"});
    EXPECT_TRUE(talk.told.empty()) << "the next waits";
    talk.Send(json{{"ran", function}}.dump());
  }
  talk.Call("wysMouseDown", {"{10,20}"});
  EXPECT_THAT(clicks, ElementsAre("WYSMouseDown", "WYSMouseUp", "WYSMouseDown too late"));
  talk.Send(R"({"ran":2})");
  EXPECT_THAT(talk.Receive().value("end", ""), HasSubstr("not been run"));
}

TEST_F(BridgeDisplayTest, PageMayEndTheInstanceOrTheTalkInsideAClick) {
  talk.Call("wysCreateStdImage", kImage);
  Place(true);
  ASSERT_TRUE(IsShown());
  Click();
  EXPECT_EQ(talk.Receive(), Run(1));
  talk.Ask({{"do", "destroy"}});
  talk.Send("nonsense");
  json last;
  for (json next = talk.Receive(); !next.is_null(); next = talk.Receive()) last = next;
  EXPECT_THAT(last.value("end", ""), HasSubstr("no JSON"));
  EXPECT_EQ(talk.End(), 1);
}

TEST_F(BridgeDisplayTest, DisplayEventsAndRepaintsReachThePageInTheirOrder) {
  talk.Call("setRepaintImageCallback", {json{{"function", 3}}});
  talk.Call("setDisplayEventsCallback", {json{{"function", 4}}});
  talk.Call("wysCreateStdImage", kImage);
  talk.Ask({{"do", "get"}, {"name", "version"}});
  talk.told.clear();
  DisplayEventRecord record{2, {}, 0, static_cast<uint32_t>(reinterpret_cast<uintptr_t>(window))};
  EXPECT_EQ(events(&record) + events(&record), 2u);
  PostMessageA(window, WM_USER + 5, 0, 0);
  std::vector<int> functions;
  // Each round lets the host take what was posted before it.
  for (int round = 0; round < 3 && (functions.empty() || functions.back() != 3); ++round) {
    talk.Ask({{"do", "get"}, {"name", "version"}});
    functions.clear();
    for (const json& message : talk.told) functions.push_back(message.value("run", 0));
  }
  EXPECT_EQ(std::ranges::count(functions, 4), 2);
  EXPECT_EQ(functions.empty() ? 0 : functions.back(), 3) << "the message came after the events";
}
