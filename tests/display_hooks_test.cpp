// The window's hooks: clicks, events of the display and repaints, as the user, the library and the page cause them.
#include <algorithm>
#include <thread>

#include "page/plugin_windows.h"
#include "tests/support/display_fixture.h"

using namespace support;
using platform::PumpMessages;
using platform::PumpUntil;
using platform::TestWindow;

namespace {

constexpr UINT kDisplayEvent = 1066;
constexpr UINT kHarmless = WM_USER + 5;

// A hook of somebody else's, which passes on a code that is no action, or an action without what it is about.
template <int passed>
LRESULT CALLBACK Careless(int /*code*/, WPARAM wParam, LPARAM lParam) {
  return CallNextHookEx(nullptr, passed, wParam, passed == HC_ACTION ? 0 : lParam);
}

}  // namespace

class DisplayHooksTest : public DisplayTest {
 protected:
  DisplayHooksTest() {
    display.On("WYSRegisterEvents", [this](DisplayCall& call) { events = call.callback; });
  }
  ~DisplayHooksTest() override { page.End(); }  // Its end takes the events back, and is still told here.

  void SetClickCallbacks(const Page& on) {
    on.Call("setMouseDownCallback", {Callback([this] { heard.back() += " down"; })});
    on.Call("setMouseUpCallback", {Callback([this] { heard.back() += " up"; })});
  }
  // The user's button, until the window has got the message.
  static void Click(TestWindow& in, UINT message, void (TestWindow::*act)(int, int), int x, int y) {
    const auto count = [&] { return std::ranges::count(in.received(), message); };
    const auto before = count();
    (in.*act)(x, y);
    EXPECT_TRUE(PumpUntil([&] { return count() > before; }));
  }
  static void Press(TestWindow& in, int x, int y) { Click(in, WM_LBUTTONDOWN, &TestWindow::PressLeft, x, y); }
  static void Release(TestWindow& in, int x, int y) { Click(in, WM_LBUTTONUP, &TestWindow::ReleaseLeft, x, y); }
  // Messages of the window, each taken by its thread, and how often the library was asked to paint meanwhile.
  size_t RepaintsOf(const std::function<void()>& messages) {
    PumpMessages();
    display.TakeCalls();
    messages();
    return static_cast<size_t>(std::ranges::count(display.TakeCalls(), "WYSRepaintImage(7, 9)"));
  }
  size_t RepaintsOfOnePosted(const TestWindow& in) {
    return RepaintsOf([&] {
      PostMessageA(in.handle(), kHarmless, 0, 0);
      MSG message;
      while (PeekMessageA(&message, in.handle(), kHarmless, kHarmless, PM_REMOVE)) continue;
    });
  }

  DisplayEventEntry events = nullptr;
};

TEST_F(DisplayHooksTest, OnlyPairsOnTheImageReachThePage) {
  SetClickCallbacks(page);
  ShowImage(page);                                  // Of 100 by 50.
  const std::tuple<bool, int, int, bool> steps[] = {// A press or a release, where, and whether it is told.
                                                    {true, 12, 34, true},  {false, 56, 7, true}, {false, 1, 1, false},
                                                    {true, 100, 1, false}, {false, 1, 1, false}, {true, 1, 50, false},
                                                    {false, 1, 50, false}, {true, 99, 49, true}, {false, 120, 1, false},
                                                    {true, 2, 2, false},   {false, 3, 3, true}};
  for (const auto& [isPress, x, y, isTold] : steps) {
    (isPress ? Press : Release)(window, x, y);
    const std::string told = "XCode=" + std::to_string(x) + " YCode=" + std::to_string(y) + (isPress ? " down" : " up");
    EXPECT_EQ(TakeHeard(), isTold ? Calls{told} : Calls{}) << told;
    EXPECT_EQ(State().buttonHeld, isPress) << told;
  }
  EXPECT_EQ(page.Call("wysGetButtonUpCount").Show(), "pluginRetCode=0 ButtonUpCount=2");
  window.PressLeft(1, 1);
  MSG message;
  while (!PeekMessageA(&message, window.handle(), WM_LBUTTONDOWN, WM_LBUTTONDOWN, PM_NOREMOVE)) continue;
  EXPECT_EQ(TakeHeard(), Calls{}) << "the press is still in the queue";
  PumpMessages();
  EXPECT_EQ(TakeHeard(), Calls{"XCode=1 YCode=1 down"});
  Release(window, 1, 1);
  TakeHeard();
  ShowImage(page, {{3, "{0,0}"}});
  Press(window, 0, 0);
  Release(window, 0, 0);
  EXPECT_EQ(TakeHeard(), (Calls{"XCode=0 YCode=0 down", "XCode=0 YCode=0 up"})) << "an image without a size";
  page.Call("setMouseUpCallback", {Callback([this] { Press(window, 0, 0); })});
  Press(window, 0, 0);
  Release(window, 0, 0);
  EXPECT_EQ(TakeHeard().back(), "XCode=0 YCode=0 down") << "the next press, inside the release's function";
}

TEST_F(DisplayHooksTest, ClicksAreHeardWhileTheImageStands) {
  const auto click = [&] {
    Press(window, 1, 1);
    Release(window, 1, 1);
    return TakeHeard().size();
  };
  SetClickCallbacks(page);
  EXPECT_EQ(click(), 0u);
  ShowImage(page);
  EXPECT_EQ(click(), 2u);
  page.Call("wysCancelButton");
  EXPECT_EQ(click(), 2u) << "the page may still want them";
  page.Call("wysInit", {0, ""});
  EXPECT_EQ(click(), 0u) << "the library has no image any more";
  ShowImage(page);
  Press(window, 1, 1);
  page.Call("wysInit", {0, ""});
  Release(window, 1, 1);
  EXPECT_EQ(TakeHeard().size(), 1u) << "nor is a release of it told";
  page.Call("wysCloseSession");
  EXPECT_EQ(click(), 0u);
  ShowImage(page);
  page.Destroy();
  EXPECT_EQ(click(), 0u);
}

TEST_F(DisplayHooksTest, EveryMessageOfTheWindowIsAPulse) {
  ShowImage(page);
  TestWindow foreign({400, 90});
  EXPECT_EQ(RepaintsOfOnePosted(window), 1u);
  EXPECT_EQ(RepaintsOfOnePosted(foreign), 0u);
  EXPECT_EQ(CallsOfAMessage(), 1u);
  Press(window, 1, 1);
  EXPECT_EQ(RepaintsOfOnePosted(window), 0u) << "not between press and release";
  Release(window, 1, 1);
  EXPECT_EQ(RepaintsOfOnePosted(window), 1u);

  page.Call("setRepaintImageCallback", {Callback()});
  TakeHeard();
  EXPECT_EQ(RepaintsOfOnePosted(window), 0u) << "the page has taken the painting over";
  EXPECT_EQ(TakeHeard(), Calls{""});
  page.Call("wysCloseSession");
  EXPECT_EQ(RepaintsOfOnePosted(window), 0u);
  EXPECT_EQ(TakeHeard(), Calls{});
}

TEST_F(DisplayHooksTest, WhatIsNoActionIsLeftUnread) {
  AgentStub agent(environment);
  AgentEventCallback tellOfEvent = nullptr;
  agent.On("ZUB_RegisterEventCb", [&](AgentCall& call) { tellOfEvent = call.appletCallback; });
  const Page both(host, "https://page.example/", window.handle());
  ShowImage(both);
  SetClickCallbacks(both);
  both.Call("zubRegisterEventCallback", {"app", Callback()});
  for (const HOOKPROC careless : {Careless<-1>, Careless<HC_ACTION>}) {
    std::vector<HHOOK> hooks;
    for (const int type : {WH_GETMESSAGE, WH_CALLWNDPROC, WH_MOUSE}) {
      hooks.push_back(SetWindowsHookExA(type, careless, nullptr, GetCurrentThreadId()));
    }
    tellOfEvent("app", 1, "x", 1);
    EXPECT_EQ(RepaintsOf([&] { Press(window, 5, 6), Release(window, 5, 6); }), 0U);
    EXPECT_EQ(RepaintsOfOnePosted(window), 0U);
    for (const HHOOK hook : hooks) EXPECT_TRUE(UnhookWindowsHookEx(hook));
  }
  EXPECT_EQ(TakeHeard().size(), 0U);
  EXPECT_GT(RepaintsOfOnePosted(window), 0U) << "as soon as the other hooks are gone";
}

TEST_F(DisplayHooksTest, LibraryEventsReachThePageOnItsThread) {
  page.Call("setDisplayEventsCallback",
            {Callback([this] { heard.back() += GetCurrentThreadId() == browser ? " here" : " there"; })});
  PutImage(page);
  const auto low = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(window.handle()));
  TestWindow foreign({400, 90});
  const auto other = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(foreign.handle()));
  const std::tuple<DisplayEventRecord, uint32_t, size_t> cases[] = {
      {{2, {}, 0, low}, 1, 1},   {{1, {}, 36, low}, 1, 1}, {{4, {}, 0, low}, 1, 0},        {{2, {}, 5, low}, 0, 0},
      {{2, {}, 0, other}, 1, 0}, {{2, {}, 0, 0}, 1, 0},    {{2, {}, 0, 0x7FFFFFFF}, 1, 0}, {{2, {}, 0, 0xFFFF}, 1, 0},
  };
  for (const auto& [record, accepted, told] : cases) {
    uint32_t answer = 7;
    std::thread([&, passed = record]() mutable { answer = events(&passed); }).join();
    PumpMessages();
    EXPECT_EQ(answer, accepted);
    EXPECT_EQ(TakeHeard(), Calls(told, "callback=0 here"));
  }
  EXPECT_EQ(events(nullptr), 0u);

  MSG message;
  PostMessageA(window.handle(), kDisplayEvent, 0, 0);  // By a stranger: it tells the page no more than any other.
  PeekMessageA(&message, window.handle(), kDisplayEvent, kDisplayEvent, PM_NOREMOVE);
  PumpMessages();
  EXPECT_EQ(TakeHeard(), Calls{"callback=0 here"}) << "told once, however often the host looks";
}

TEST_F(DisplayHooksTest, HooksServeTheLastPageToItsEnd) {
  for (const bool firstEndsFirst : {true, false}) {
    TestWindow otherWindow({400, 90});
    Page first(host, "https://page.example/", window.handle());
    ShowImage(first);
    Page second(host, "https://page.example/", otherWindow.handle());
    EXPECT_EQ(RepaintsOfOnePosted(window), 1u) << "a page that begins leaves the hooks of others";
    ShowImage(second);
    EXPECT_EQ(RepaintsOfOnePosted(window), 1u) << "one pulse a message, whoever installed hooks";
    page.End();
    (firstEndsFirst ? first : second).End();
    EXPECT_EQ(RepaintsOfOnePosted(firstEndsFirst ? otherWindow : window), 1u);
    EXPECT_EQ(RepaintsOfOnePosted(firstEndsFirst ? window : otherWindow), 0u);
  }
  EXPECT_EQ(NorvoWebAPI::KSV::displayHooks.getMessage.load(), nullptr) << "the last page takes the hooks with it";
}

// What a page does inside its own functions must not pull the ground from under the hook that runs.
TEST_F(DisplayHooksTest, PageMayEndInsideAnyOfItsFunctions) {
  const std::tuple<const char*, std::function<void()>> cases[] = {
      {"setMouseDownCallback", [&] { Press(window, 1, 1); }},
      {"setRepaintImageCallback", [&] { RepaintsOfOnePosted(window); }},
      {"setDisplayEventsCallback",
       [&] {
         PostMessageA(window.handle(), kDisplayEvent, 0, 0);
         PumpMessages();
       }},
  };
  for (const auto& [setter, cause] : cases) {
    Page ending(host, "https://page.example/", window.handle());
    ending.Call(setter, {Callback([&] {
                  ending.Call("wysCreateStdImage", Image());
                  ending.End();
                })});
    PutImage(ending);
    PumpMessages();
    ending.End();  // Unless it has, by what showing the image caused.
    heard.clear();
    Page again(host, "https://page.example/", window.handle());
    again.Call(setter, {Callback([&] { again.End(); })});
    PutImage(again);
    cause();
    EXPECT_EQ(TakeHeard().size(), 1u) << setter;
    Release(window, 1, 1);
  }
  // Inside the library, too.
  Page ending(host, "https://page.example/", window.handle());
  ShowImage(ending);
  display.On("WYSRepaintImage", [&](DisplayCall&) { ending.End(); });
  EXPECT_EQ(RepaintsOfOnePosted(window), 1u);
}
