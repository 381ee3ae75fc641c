// The display in bad company: a library that throws or ends the page inside its calls, a system that refuses, a page
// that gives its initialisations back in any order.
#include <algorithm>
#include <thread>
#include <utility>

#include "shell/plugin_windows.h"
#include "tests/support/display_fixture.h"

using namespace support;
using NorvoWebAPI::KSV::agentInitCount;
using NorvoWebAPI::KSV::displayInitCount;
using platform::FailCall;
using platform::PumpMessages;

namespace {

constexpr UINT kHarmless = WM_USER + 5;

// Every display method that asks the library, and the entry that it asks.
struct Asked {
  const char* method;
  Arguments arguments;
  const char* entry;
};

std::vector<Asked> AskingMethods(const Arguments& image) {
  return {
      {"wysInit", {0, ""}, "WYSInit"},
      {"wysEstablishSession", {}, "WYSEstablishSession"},
      {"wysEstablishSession", {}, "WYSRegisterEvents"},
      {"wysCreateStdImage", image, "WYSCreateStdImage"},
      {"wysCreateStdImage", image, "WYSRepaintImage"},
      {"wysMouseDown", {"{1,2}"}, "WYSMouseDown"},
      {"wysMouseUp", {"{1,2}"}, "WYSMouseUp"},
      {"wysSubmitButton", {""}, "WYSSubmitInput"},
      {"wysProcessSubmitAndGetResponse", {}, "WYSSubmitInputAndGetResponse"},
      {"wysCancelButton", {}, "WYSReleaseImage"},
      {"wysClearButton", {}, "WYSClearInput"},
      {"wysSubmitFrame", {1, "{1,2}", "aGk="}, "WYSSubmitFrame"},
      {"wysSendRecv", {1, "aGk=", 4, 0}, "WYSSendRecv"},
      {"wysProcessRemoteWysMessage", {"", 4, "", "", "", "aGk=", "{1,2}", ""}, "WYSSetStreamKey"},
      {"wysProcessRemoteWysMessage", {"", 4, "", "", "", "aGk=", "{1,2}", ""}, "WYSSendRecv"},
      {"wysRepaintImage", {}, "WYSRepaintImage"},
      {"wysGetVersion", {}, "WYSGetVersion"},
      {"wysStatusToString", {1}, "WYSStatusToString"},
      {"wysCloseSession", {}, "WYSCloseSession"},
      {"wysDeInit", {}, "WYSDeInit"},
  };
}

}  // namespace

class DisplayFaultsTest : public DisplayTest {
 protected:
  DisplayFaultsTest() {
    agentInitCount = 0;
    display.On("WYSSendRecv", [](DisplayCall& call) { *call.length = 3; });
  }
};

TEST_F(DisplayFaultsTest, LibraryThatThrowsIsAnswered) {
  if (sizeof(void*) == 4) GTEST_SKIP() << "with 32 bits this compiler's exceptions do not cross modules";
  for (const Asked& asked : AskingMethods(Image())) {
    displayInitCount = 0;
    ShowImage(page);
    const std::string method = asked.method;
    const int32_t expected = method == "wysProcessRemoteWysMessage"            ? 14
                             : asked.entry == std::string("WYSRegisterEvents") ? 16
                                                                               : 13;
    display.On(asked.entry, [](DisplayCall&) { throw std::bad_alloc(); });
    const int32_t code = page.Call(method, asked.arguments).Int("pluginRetCode");
    EXPECT_EQ(code, expected) << method << ", " << asked.entry;
    display.On(asked.entry, [](DisplayCall& call) {
      if (call.length) *call.length = 3;
      if (call.value) *call.value = 7;
    });
  }
  EXPECT_EQ(page.Call("wysRepaintImage").Show(), "pluginRetCode=0 fnRetCode=34") << "closed, whatever the library did";
}

TEST_F(DisplayFaultsTest, PageMayEndInsideAnyCallOfTheLibrary) {
  for (const bool objectToo : {true, false}) {
    for (const Asked& asked : AskingMethods(Image())) {
      Page ending(host, "https://page.example/", window.handle());
      ShowImage(ending);
      bool ended = false;
      display.On(asked.entry, [&](DisplayCall& call) {
        if (call.length) *call.length = 3;
        if (std::exchange(ended, true)) return;
        objectToo ? ending.End() : ending.Destroy();
      });
      const Result result = ending.Call(asked.method, asked.arguments);
      EXPECT_FALSE(result.Answered()) << asked.entry;
      EXPECT_TRUE(ended) << asked.entry;
      ending.End();
      EXPECT_EQ(displayInitCount, 0) << asked.entry;
      // What was just made for nobody is taken back; else the library hears no more of the page.
      const Calls calls = display.TakeCalls();
      const auto last = std::ranges::find_if(calls, [](const auto& call) { return call.starts_with("WYSDeInit("); });
      ASSERT_NE(last, calls.end()) << asked.entry;
      const bool made = asked.entry == std::string("WYSInit");
      EXPECT_LE(calls.end() - last, made ? 2 : 1) << asked.entry << ": " << testing::PrintToString(calls);
      display.On(asked.entry, [](DisplayCall& call) {
        if (call.length) *call.length = 3;
        if (call.value) *call.value = 7;
      });
    }
  }
  EXPECT_EQ(host.PluginObjects(), 1u);
}

TEST_F(DisplayFaultsTest, BothLibrariesAreGivenBackInAnyOrder) {
  const std::vector<std::vector<const char*>> orders{
      {}, {"zubDeInit"}, {"wysDeInit"}, {"zubDeInit", "wysDeInit"}, {"wysDeInit", "zubDeInit"},
  };
  AgentStub agent(environment);
  for (const auto& order : orders) {
    display.TakeCalls();
    agent.TakeCalls();
    {
      Page going(host, "https://page.example/", window.handle());
      going.Call("zubInit");
      going.Call("wysInit", {0, ""});
      for (const char* method : order) going.Call(method);
    }
    EXPECT_EQ(agentInitCount, 0);
    EXPECT_EQ(displayInitCount, 0);
    EXPECT_EQ(agent.TakeCalls().back(), "ZUB_DeInit()");
    EXPECT_EQ(display.TakeCalls().back(), "WYSDeInit(70)");
  }
}

TEST_F(DisplayFaultsTest, PageGivesBackNothingOfAnothers) {
  AgentStub agent(environment);
  Page first(host, "https://page.example/", window.handle());
  Page third(host, "https://page.example/", window.handle());
  first.Call("zubInit");
  {
    Page second(host, "https://page.example/", window.handle());
    second.Call("zubInit");
    second.Call("wysInit", {0, ""});
    second.Call("wysDeInit");
    third.Call("wysInit", {0, ""});
  }
  EXPECT_EQ(displayInitCount, 1);
  EXPECT_EQ(third.Call("wysDeInit").Show(), kWentWell);
}

TEST_F(DisplayFaultsTest, SessionOfAPageThatEndedInItIsTakenBack) {
  page.Call("wysInit", {0, ""});
  for (const char* entry : {"WYSEstablishSession", "WYSRegisterEvents", "WYSCreateStdImage", "WYSRepaintImage"}) {
    Page ending(host, "https://page.example/", window.handle());
    ending.Call("wysInit", {0, ""});
    bool ended = false;
    display.On(entry, [&](DisplayCall& call) {
      if (call.value) *call.value = 7;
      if (!std::exchange(ended, true)) ending.End();
    });
    display.TakeCalls();
    ending.Call("wysEstablishSession");
    if (!ended) ending.Call("wysCreateStdImage", Image());
    EXPECT_TRUE(ended) << entry;
    EXPECT_EQ(display.TakeCalls().back(), "WYSCloseSession(7)") << entry;
    EXPECT_EQ(displayInitCount, 1);
    display.On(entry, [](DisplayCall& call) {
      if (call.value) *call.value = 7;
    });
  }
}

TEST_F(DisplayFaultsTest, WhatThePageDidInsideACallStands) {
  display.On("WYSInit", [&](DisplayCall& outer) {
    display.On("WYSInit", [](DisplayCall& inner) { *inner.value = 9; });
    page.Call("wysInit", {0, ""});
    outer.status = 5;
  });
  EXPECT_EQ(page.Call("wysInit", {0, ""}).Show(), "pluginRetCode=0 fnRetCode=5");
  EXPECT_EQ(State().displayContext, 9u);
}

TEST_F(DisplayFaultsTest, FunctionsOfTheModulesOwnAreRefused) {
  Result view = page.Call("wysGetButtonUpCount");
  const Value answer = view.Get();
  for (const char* setter : {"setMouseDownCallback", "setDisplayEventsCallback"}) {
    EXPECT_FALSE(page.Call(setter, {page.Object()}).Answered());
    EXPECT_FALSE(page.Call(setter, {answer}).Answered());
  }
  EXPECT_EQ(page.Call("zubRegisterEventCallback", {"app", page.Object()}).Show(), "pluginRetCode=13");
}

TEST_F(DisplayFaultsTest, PageIsFoundOnItsOwnThreadAlone) {
  using NorvoWebAPI::KSV::FindPluginByWindow;
  ASSERT_NE(FindPluginByWindow(window.handle()), nullptr);
  std::thread([&] { EXPECT_EQ(FindPluginByWindow(window.handle()), nullptr); }).join();
}

TEST_F(DisplayFaultsTest, MessageCausesNoMoreThanSixteenRepaints) {
  ShowImage(page);
  size_t painted = 0;
  display.On("WYSRepaintImage", [&](DisplayCall&) {
    ++painted;
    for (int i = 0; i < 3; ++i) SendMessageA(window.handle(), kHarmless, 0, 0);
  });
  for (int i = 0; i < 2; ++i) {
    SendMessageA(window.handle(), kHarmless, 0, 0);
    EXPECT_EQ(std::exchange(painted, 0), 16u);
  }
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
  for (const bool deInit : {true, false}) {
    Page leaving(host, "https://page.example/", window.handle());
    leaving.Call("setMouseDownCallback", {Callback([&] { deInit ? void(leaving.Call("wysDeInit")) : leaving.End(); })});
    ShowImage(leaving);
    window.PressLeft(1, 1);
    EXPECT_TRUE(platform::PumpUntil([&] { return !TakeHeard().empty(); }));
    window.ReleaseLeft(1, 1);
    PumpMessages();
    leaving.End();

    Page next(host, "https://page.example/", window.handle());
    next.Call("setMouseDownCallback", {Callback()});
    ShowImage(next);
    window.PressLeft(2, 2);
    EXPECT_TRUE(platform::PumpUntil([&] { return !heard.empty(); })) << "its first press is told";
    EXPECT_EQ(TakeHeard(), Calls{"XCode=2 YCode=2"});
    window.ReleaseLeft(2, 2);
    PumpMessages();
  }
}

TEST_F(DisplayFaultsTest, SystemThatRefusesCostsNoMoreThanItsPart) {
  if (!platform::kHasLayerSettings) GTEST_SKIP() << "the system's calls can't be made to fail here";
  {
    const FailCall noMutex("CreateMutexA", ERROR_NOT_ENOUGH_MEMORY, 2);
    const NPP npp = host.NewInstance();
    EXPECT_EQ(Module().newp(nullptr, npp, NP_EMBED, 0, nullptr, nullptr, nullptr), NPERR_OUT_OF_MEMORY_ERROR);
    host.EndInstance(npp, nullptr);
  }
  const auto repaints = [&] {
    display.TakeCalls();
    SendMessageA(window.handle(), kHarmless, 0, 0);
    return display.TakeCalls().size();
  };
  for (const int nth : {1, 2, 3}) {  // Mouse, posted messages, sent messages.
    const FailCall noHook("SetWindowsHookExA", ERROR_NOT_ENOUGH_MEMORY, nth);
    ShowImage(page);
    EXPECT_EQ(repaints(), nth == 3 ? 0u : 1u);
  }
  ShowImage(page);
  {
    const FailCall noWait("WaitForSingleObject", ERROR_GEN_FAILURE);
    EXPECT_EQ(page.Call("wysCloseSession").Show(), "pluginRetCode=13");
  }
  {
    const FailCall noClearing("WaitForSingleObject", ERROR_GEN_FAILURE,
                              3);  // Of the button, of busy's beginning and end.
    EXPECT_EQ(repaints(), 1u);
  }
  EXPECT_EQ(page.Call("wysCloseSession").Show(), "pluginRetCode=13") << "a repaint seems to run";
  EXPECT_EQ(repaints(), 1u);
  EXPECT_EQ(page.Call("wysCloseSession").Show(), kWentWell) << "until the next has ended";
}
