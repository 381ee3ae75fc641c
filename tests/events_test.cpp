// Agent events on their way from the library's threads to the page's function.
#include <atomic>
#include <thread>

#include "platform/desktop.h"
#include "tests/support/agent_fixture.h"

using namespace support;
using platform::PumpMessages;
using platform::TestWindow;

namespace {

constexpr UINT kAgentEvent = 1067;

// What the page's function was told, as in "app 240 AQID".
struct Listener {
  explicit Listener(TestHost& host) {
    function = host.NewFunction([this, &host](const std::vector<Value>& args, Value&) {
      const Result event(host, true, host.Make(args.at(0)));
      std::string line =
          event.Text("appName") + " " + std::to_string(event.Int("dataSrc")) + " " + event.Text("b64Data");
      std::erase(line, '\n');
      heard.push_back(line);
      if (then) std::exchange(then, nullptr)();
      return true;
    });
  }

  ScriptObject* function;
  std::function<void()> then;  // Runs inside the next delivery.
  Calls heard;
};

}  // namespace

// The same rules in both generations; the parameter is the library's version.
class EventsTest : public testing::TestWithParam<uint32_t> {
 protected:
  EventsTest() {
    agent.SetVersion(GetParam());
    agent.On("ZUB_RegisterEventCb", [this](AgentCall& call) { applet = call.appletCallback; });
    agent.On("ZUB3_StartInstance", [this](AgentCall& call) {
      *call.value = ++lastInstance;
      instance = call.instanceCallback;
      context = call.context;
    });
  }

  [[nodiscard]] bool ByInstance() const { return GetParam() >= 3; }
  std::string Register(const Page& on, const std::string& name, Listener& to) {
    return on.Call("zubRegisterEventCallback", {name, static_cast<NPObject*>(to.function)}).Show();
  }

  // The library reports an event, on the calling thread.
  void Enter(const std::string& name, const std::string& data, uint8_t source = 240) const {
    const auto size = static_cast<uint32_t>(data.size());
    if (ByInstance()) {
      instance(lastInstance, size, data.data(), source, context);
    } else {
      applet(name.c_str(), size, data.data(), source);
    }
  }
  void Raise(const std::string& name, const std::string& data) const {
    std::thread([&] { Enter(name, data); }).join();
  }
  // What came to be heard since the last time.
  static Calls Heard(Listener& by) {
    PumpMessages();
    return std::exchange(by.heard, {});
  }
  Calls Heard() { return Heard(listener); }

  Environment environment;
  AgentStub agent{environment};
  TestHost host;
  TestWindow window;
  Page page{host, "https://page.example/", window.handle()};
  Listener listener{host};
  AgentEventCallback applet = nullptr;
  InstanceEventCallback instance = nullptr;
  void* context = nullptr;
  uint32_t lastInstance = 100;
};

INSTANTIATE_TEST_SUITE_P(Generations, EventsTest, testing::Values(2, 3));

TEST_P(EventsTest, ReachThePagesFunctionWithNameSourceAndData) {
  const std::string name32(32, 'n');
  const struct {
    std::string name;
    std::string data;
    Calls first;     // What is heard in the first generation,
    Calls instance;  // and of an instance.
  } cases[] = {
      {"app", "\x01\x02\x03", {"app 240 AQID"}, {"app 240 AQID"}},
      {"\xC3\xA4pp\xFF", std::string(1, '\0'), {"\xC3\xA4pp\xFF 240 AA=="}, {"\xC3\xA4pp\xFF 240 AA=="}},
      {name32, "x", {name32 + " 240 eA=="}, {name32 + " 240 eA=="}},
      // The record holds 32 characters of a name, and by name nobody is registered under those.
      {name32 + "n", "x", {}, {name32 + " 240 eA=="}},
      {std::string(4096, 'n'), "x", {}, {name32 + " 240 eA=="}},
      {"empty", "", {}, {}},
  };
  for (const auto& row : cases) {
    Register(page, row.name, listener);
    Raise(row.name, row.data);
    EXPECT_EQ(Heard(), ByInstance() ? row.instance : row.first) << row.name;
    page.Call("zubUnRegisterEventCallback", {row.name});
  }
}

TEST_P(EventsTest, ReachNoScriptOnAnotherThreadThanThePages) {
  std::thread([&] {
    TestWindow foreign;
    NPWindow given{};
    given.window = foreign.handle();
    Module().setwindow(page.Instance(), &given);
    Register(page, "app", listener);
    Enter("app", "x");
    PumpMessages();
    EXPECT_TRUE(foreign.HasReceived(kAgentEvent));
  }).join();
  EXPECT_EQ(Heard(), Calls{});
}

TEST_P(EventsTest, AreDroppedInTheEntryWhenNobodyCanTakeThem) {
  Register(page, "app", listener);
  const auto broken = [this](const char* name, uint32_t size, void* of, uint32_t id) {
    std::thread([&] {
      if (ByInstance()) {
        instance(id, size, nullptr, 1, of);
      } else {
        applet(name, size, nullptr, 1);
      }
    }).join();
  };
  broken(nullptr, 3, nullptr, lastInstance);
  broken("app", 3, context, lastInstance);
  broken("unknown", 0, context, 9);
  PumpMessages();
  EXPECT_FALSE(window.HasReceived(kAgentEvent));
  page.Call("zubUnRegisterEventCallback", {"app"});
  Raise("app", "late");
  PumpMessages();
  EXPECT_FALSE(window.HasReceived(kAgentEvent));
  EXPECT_EQ(Heard(), Calls{});
}

TEST_P(EventsTest, AMessageOfAStrangerPassesOnUnread) {
  Register(page, "app", listener);
  TestWindow other;
  Raise("app", "x");
  MSG message{};
  ASSERT_TRUE(PeekMessageA(&message, window.handle(), kAgentEvent, kAgentEvent, PM_NOREMOVE));
  Heard();
  for (const WPARAM word : {WPARAM{0}, WPARAM{1}, WPARAM{0xDEADBEEF}, message.wParam}) {
    ASSERT_TRUE(PostMessageA(window.handle(), kAgentEvent, word, 0));
  }
  Raise("app", "y");
  ASSERT_TRUE(PeekMessageA(&message, window.handle(), kAgentEvent, kAgentEvent, PM_NOREMOVE));
  ASSERT_TRUE(PostMessageA(other.handle(), kAgentEvent, message.wParam, 0));
  PumpMessages();
  EXPECT_TRUE(window.HasReceived(kAgentEvent));
  EXPECT_EQ(Heard(), Calls{"app 240 eQ=="});
}

TEST_P(EventsTest, APeekedOrRepeatedMessageIsDeliveredOnce) {
  Register(page, "app", listener);
  Raise("app", "x");
  MSG message{};
  ASSERT_TRUE(PeekMessageA(&message, window.handle(), kAgentEvent, kAgentEvent, PM_NOREMOVE));
  ASSERT_TRUE(PostMessageA(window.handle(), kAgentEvent, message.wParam, 0));
  EXPECT_EQ(Heard(), Calls{"app 240 eA=="});
}

TEST_P(EventsTest, OneThatMeetsADeliveryIsLost) {
  Register(page, "app", listener);
  Raise("app", "first");
  Raise("app", "second");
  listener.then = [] { PumpMessages(); };
  EXPECT_EQ(Heard().size(), 1U);
}

// A callback on the delivering thread would wait for its own end.
TEST_P(EventsTest, OneOfTheDeliveringThreadItselfFollowsTheDelivery) {
  Register(page, "app", listener);
  Raise("app", "outer");
  listener.then = [this] { Enter("app", "inner"); };
  EXPECT_EQ(Heard(), (Calls{"app 240 b3V0ZXI=", "app 240 aW5uZXI="}));
}

TEST_P(EventsTest, ALibraryThreadWaitsOutADelivery) {
  Register(page, "app", listener);
  Raise("app", "first");
  std::thread late;
  std::atomic<bool> entered = false;
  listener.then = [&] {
    late = std::thread([&] {
      entered = true;
      Enter("app", "second");
    });
    while (!entered) std::this_thread::yield();
  };
  PumpMessages();
  late.join();
  EXPECT_EQ(Heard(), (Calls{"app 240 Zmlyc3Q=", "app 240 c2Vjb25k"}));
}

TEST_P(EventsTest, ThePageMayDoAnythingInsideADelivery) {
  Listener other{host};
  const std::function<void(Page&)> deeds[] = {
      [](Page& busy) { busy.Call("zubUnRegisterEventCallback", {"busy"}); },
      [&](Page& busy) { Register(busy, "other", other); },
      [](Page& busy) { busy.Call("zubInit"), busy.Call("zubDeInit"); },
  };
  for (const auto& deed : deeds) {
    Page busy(host, "https://busy.example/", window.handle());
    Register(busy, "busy", listener);
    Raise("busy", "x");
    listener.then = [&] { deed(busy); };
    EXPECT_EQ(Heard().size(), 1U);
  }
  Raise("busy", "nobody hears it");
  EXPECT_EQ(Heard(), Calls{});
}

TEST_P(EventsTest, CannotBeRegisteredByAPageThatHasEnded) {
  page.Destroy();
  EXPECT_EQ(Register(page, "app", listener), "pluginRetCode=13");
}

TEST_P(EventsTest, OnTheirWayEndWithThePageOrItsWindow) {
  Register(page, "app", listener);
  TestWindow second;
  {
    Page going(host, "https://going.example/", second.handle());
    Listener gone{host};
    Register(going, "going", gone);
    Raise("going", "x");
  }
  PumpMessages();
  Register(page, "app", listener);
  Raise("app", "x");
  window.Destroy();
  Raise("app", "y");
  EXPECT_EQ(Heard(), Calls{});
}

TEST_P(EventsTest, OfOnePageStayOnTheirWayWhenAnotherReleasesItsOwn) {
  const struct {
    const char* what;
    std::function<void(Page&, int32_t instanceId)> release;
  } rows[] = {
      {"unregisters", [](Page& other, int32_t) { other.Call("zubUnRegisterEventCallback", {"other"}); }},
      {"gives its initialisation back", [](Page& other, int32_t) { other.Call("zubDeInit"); }},
      {"stops its instance", [](Page& other, int32_t id) { other.Call("zubStopInstance", {id}); }},
      {"ends", [](Page& other, int32_t) { other.End(); }},
  };
  page.Call("zubInit");
  for (const auto& [what, release] : rows) {
    const Page third(host, "https://third.example/");
    third.Call("zubInit");
    TestWindow otherWindow;
    Page other(host, "https://other.example/", otherWindow.handle());
    other.Call("zubInit");
    Listener others{host};
    Register(other, "other", others);
    const auto otherId = static_cast<int32_t>(lastInstance);
    Register(page, "app", listener);
    Raise("app", what);
    release(other, otherId);
    Listener again{host};
    Page late(host, "https://late.example/", otherWindow.handle());
    Register(late, "late", again);  // Installs the hook again where the release took it away.
    EXPECT_EQ(Heard().size(), 1U) << what;
    page.Call("zubUnRegisterEventCallback", {"app"});
  }
}

TEST_P(EventsTest, NamesOfAPageThatEndsAreUnregisteredOnce) {
  if (ByInstance()) GTEST_SKIP() << "instances are stopped by their id";
  page.Call("zubInit");
  for (const bool initialises : {false, true}) {
    Page ending(host, "https://ending.example/", window.handle());
    if (initialises) ending.Call("zubInit");
    for (const char* name : {"one", "two", "three"}) Register(ending, name, listener);
    agent.TakeCalls();
    ending.End();
    Calls calls = agent.TakeCalls();
    std::erase_if(calls, [](const std::string& call) { return !call.starts_with("ZUB_Unregister"); });
    EXPECT_EQ(std::set<std::string>(calls.begin(), calls.end()).size(), 3U);
    EXPECT_EQ(calls.size(), 3U);
    for (const char* name : {"one", "two", "three"}) {
      EXPECT_EQ(Register(page, name, listener), "pluginRetCode=0 fnRetCode=0");
      page.Call("zubUnRegisterEventCallback", {name});
    }
  }
}

TEST_P(EventsTest, RegistrationRefusesWhatItCannotServe) {
  NPObject* const function = listener.function;
  const struct {
    std::vector<Value> arguments;
    const char* answer;
  } cases[] = {
      {{"app"}, "pluginRetCode=12"},        {{"app", function, 1}, "pluginRetCode=12"},
      {{"", function}, "pluginRetCode=12"}, {{"app", "text"}, "pluginRetCode=12"},
      {{5, function}, "pluginRetCode=13"},  {{"app", page.Object()}, "pluginRetCode=13"},
  };
  for (const auto& row : cases) EXPECT_EQ(page.Call("zubRegisterEventCallback", row.arguments).Show(), row.answer);
  EXPECT_EQ(agent.TakeCalls(), Calls{});

  EXPECT_EQ(Register(page, "app", listener).find("pluginRetCode=0 fnRetCode=0"), 0U);
  agent.TakeCalls();
  Listener second{host};
  EXPECT_EQ(Register(page, "app", second), "pluginRetCode=22");
  EXPECT_EQ(agent.TakeCalls(), Calls{});
  Raise("app", "x");
  EXPECT_EQ(Heard(second).size(), 1U) << "the function is replaced before the name is looked at";

  Page windowless(host);
  NPWindow none{};
  Module().setwindow(windowless.Instance(), &none);
  EXPECT_EQ(Register(windowless, "other", listener), "null");
  const std::string unknown = ByInstance() ? "pluginRetCode=22" : "pluginRetCode=12";
  EXPECT_EQ(page.Call("zubUnRegisterEventCallback", {"unknown"}).Show(), unknown);
  EXPECT_EQ(page.Call("zubUnRegisterEventCallback", {""}).Show(), "pluginRetCode=12");

  agent.On(ByInstance() ? "ZUB3_StopInstance" : "ZUB_UnregisterEventCb", Refuses(77));
  EXPECT_EQ(page.Call("zubUnRegisterEventCallback", {"app"}).Int("fnRetCode"), 77);
  Raise("app", "still registered");
  EXPECT_EQ(Heard(second).size(), 1U);
}

TEST_P(EventsTest, RegistrationFailsWithoutAHook) {
  if (!platform::kHasLayerSettings) GTEST_SKIP() << "the system's own hooks can't be made to fail";
  const platform::FailCall refused("SetWindowsHookExA", ERROR_ACCESS_DENIED);
  EXPECT_EQ(Register(page, "app", listener), "pluginRetCode=22");
  EXPECT_TRUE(refused.fired());
}

TEST_P(EventsTest, AThousandFromEightThreadsComeOnceOrNotAtAll) {
  Register(page, "app", listener);
  std::atomic<int> running = 8;
  std::vector<std::thread> library;
  for (int t = 0; t < 8; ++t) {
    library.emplace_back([&, t, byName = applet, byNumber = instance, of = context, id = lastInstance] {
      for (int i = 0; i < 125; ++i) {
        const std::string data = std::to_string(t * 1000 + i);
        const auto size = static_cast<uint32_t>(data.size());
        ByInstance() ? byNumber(id, size, data.data(), 1, of) : byName("app", size, data.data(), 1);
      }
      --running;
    });
  }
  TestWindow otherWindow;
  while (running > 0) {
    PumpMessages();
    Page other(host, "https://other.example/", otherWindow.handle());
    Listener deaf{host};
    Register(other, "other", deaf);
    PumpMessages();
    other.Call("zubUnRegisterEventCallback", {"other"});
  }
  for (std::thread& thread : library) thread.join();
  const Calls heard = Heard();
  EXPECT_EQ(std::set<std::string>(heard.begin(), heard.end()).size(), heard.size()) << "one came twice";

  page.Call("zubUnRegisterEventCallback", {"app"});
  Register(page, "app", listener);
  Raise("app", "the road is free");
  EXPECT_EQ(Heard().size(), 1U);
}
