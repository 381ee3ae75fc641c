// The display in bad company: a system that refuses, messages without end, a page that leaves from within.
#include <algorithm>
#include <thread>
#include <utility>

#include "page/plugin_windows.h"
#include "tests/support/display_fixture.h"

using namespace support;
using NorvoWebAPI::KSV::displayInitCount;
using platform::PumpMessages;

class DisplayFaultsTest : public DisplayTest {};

// The library lets the host run, and the host ends the page: the operation goes on, and an image that came of it ends
// with the object.
TEST_F(DisplayFaultsTest, PageThatEndsInsideALibraryCallLeavesNoImage) {
  page.Call("wysInit", {0, ""});
  const std::pair<const char*, const char*> rows[] = {{"WYSEstablishSession", "WYSRegisterEvents(7, 2, callback)"},
                                                      {"WYSCreateStdImage", "WYSDeInit(70)"},
                                                      {"WYSRepaintImage", "WYSDeInit(70)"}};
  for (const auto& [entry, lastCall] : rows) {
    Page ending(host, "https://page.example/", window.handle());
    ending.Call("wysInit", {0, ""});
    bool ended = false;
    display.On(entry, [&](DisplayCall& call) {
      if (call.value) *call.value = 7;
      if (!std::exchange(ended, true)) ending.End();
    });
    display.TakeCalls();
    ending.Call("wysEstablishSession");
    if (!ended) {
      EXPECT_EQ(ending.Call("wysCreateStdImage", Image()).Show(), "failed") << "nobody is left to answer";
    }
    EXPECT_TRUE(ended) << entry;
    EXPECT_EQ(display.TakeCalls().back(), lastCall) << entry;
    EXPECT_EQ(displayInitCount.Total(), 1);
    display.On(entry, [](DisplayCall& call) { static_cast<void>(call.value && (*call.value = 7)); });
  }
}

TEST_F(DisplayFaultsTest, PageIsFoundOnItsOwnThreadAlone) {
  using NorvoWebAPI::KSV::FindScriptableByWindow;
  ASSERT_NE(FindScriptableByWindow(window.handle()), nullptr);
  ShowImage(page);
  CallsOfAMessage();
  page.Call("wysCloseSession");
  std::thread([&] {
    EXPECT_EQ(FindScriptableByWindow(window.handle()), nullptr);
    for (const auto* mutex : {&State().buttonMutex, &State().repaintMutex})
      EXPECT_TRUE(NorvoWebAPI::KSV::TakeMutex(mutex->Get(), 0)) << "nobody keeps it";
  }).join();
}

TEST_F(DisplayFaultsTest, MessageCausesNoMoreThanSixteenRepaints) {
  ShowImage(page);
  size_t painted = 0;
  std::string closing;
  const auto paint = [&] {
    ++painted;
    for (int i = 0; i < 3; ++i) SendMessageA(window.handle(), WM_USER + 5, 0, 0);
  };
  display.On("WYSRepaintImage", [&](DisplayCall&) {
    closing = page.Call("wysCloseSession").Show();
    paint();
  });
  for (const bool byThePage : {false, false, true}) {
    if (byThePage) page.Call("setRepaintImageCallback", {Callback(paint)});
    painted = 0;
    CallsOfAMessage();
    EXPECT_EQ(painted, 16u);
  }
  EXPECT_EQ(closing, "pluginRetCode=13") << "the session stays open during a repaint";
  EXPECT_EQ(page.Call("wysCloseSession").Show(), kWentWell);
}

TEST_F(DisplayFaultsTest, EventsInsideEventsComeToAnEnd) {
  size_t told = 0;
  const auto post = [&] {
    ++told;
    PostMessageA(window.handle(), 1066, 0, 0);
    PumpMessages();
  };
  page.Call("setDisplayEventsCallback", {Callback([&] {
              if (told < 1000) post();
            })});
  ShowImage(page);
  post();
  EXPECT_EQ(told, 17u);
}

TEST_F(DisplayFaultsTest, PageThatLeavesInsideItsPressLeavesNoPressBehind) {
  const auto press = [&](const Page& on, std::function<void()> then) {
    on.Call("setMouseDownCallback", {Callback(std::move(then))});
    ShowImage(on);
    window.PressLeft(2, 2);
    EXPECT_TRUE(platform::PumpUntil([&] { return !heard.empty(); }));
    window.ReleaseLeft(2, 2);
    PumpMessages();
    EXPECT_EQ(TakeHeard(), Calls{"XCode=2 YCode=2"});
  };
  for (const char* method : {"wysDeInit", "wysCloseSession", ""}) {
    Page leaving(host, "https://page.example/", window.handle());
    press(leaving, [&] { *method ? void(leaving.Call(method)) : leaving.End(); });
    EXPECT_TRUE(!*method || StateOf(leaving).buttonHeld == 0) << method;
    leaving.End();
    Page next(host, "https://page.example/", window.handle());
    press(next, {});
  }
}
