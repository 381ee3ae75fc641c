// Agent events on their way from the library's threads to the page's function.
#include <algorithm>
#include <atomic>
#include <set>
#include <thread>

#include "page/init_count.h"
#include "platform/desktop.h"
#include "tests/support/agent_fixture.h"
#include "tests/support/listener.h"

using namespace support;
using NorvoWebAPI::KSV::agentInitCount;
using platform::PumpMessages;
using platform::TestWindow;

namespace {

constexpr UINT kAgentEvent = 1067;

// Counts the event messages that reach an older hook.
int passed = 0;
LRESULT CALLBACK CountPassed(int code, WPARAM removes, LPARAM message) {
  passed += reinterpret_cast<const MSG*>(message)->message == kAgentEvent ? 1 : 0;
  return CallNextHookEx(nullptr, code, removes, message);
}

}  // namespace

// The same rules in both generations; the parameter is the library's version.
class EventsTest : public testing::TestWithParam<uint32_t> {
 protected:
  EventsTest() {
    agent.SetVersion(GetParam());
    agent.On("ZUB_RegisterEventCb", [this](AgentCall& call) {
      applet = call.appletCallback;
      call.status = registrationStatus;
      if (inRegistration) std::exchange(inRegistration, nullptr)();
    });
    agent.On("ZUB3_StartInstance", [this](AgentCall& call) {
      *call.value = ++started;
      call.status = registrationStatus;
      if (!call.instanceCallback) return;
      lastInstance = started;
      instance = call.instanceCallback;
      context = call.context;
      if (inRegistration) std::exchange(inRegistration, nullptr)();
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
  // Where a release has removed it.
  void InstallHookAgain() {
    const Page late(host, "https://late.example/", window.handle());
    Listener deaf{host};
    Register(late, "late", deaf);
    PumpMessages();
    EXPECT_EQ(deaf.heard, Calls{});
  }

  Environment environment;
  AgentStub agent{environment};
  TestHost host;
  TestWindow window;
  Page page{host, "https://page.example/", window.handle()};
  Listener listener{host};
  AgentEventCallback applet = nullptr;
  InstanceEventCallback instance = nullptr;
  void* context = nullptr;
  uint32_t started = 100;
  uint32_t lastInstance = 0;  // That has events.
  int32_t registrationStatus = 0;
  std::function<void()> inRegistration;  // Runs inside the library's next registration.
};

INSTANTIATE_TEST_SUITE_P(Generations, EventsTest, testing::Values(2, 3));

TEST_P(EventsTest, ReachThePagesFunctionWithNameSourceAndData) {
  const std::string name32(32, 'n');
  const std::tuple<std::string, std::string, Calls, Calls> cases[] = {
      {"app", "\x01\x02\x03", {"app 240 AQID"}, {"app 240 AQID"}},
      {"\xC3\xA4pp\xFF", std::string(1, '\0'), {"\xC3\xA4pp\xFF 240 AA=="}, {"\xC3\xA4pp\xFF 240 AA=="}},
      {name32, "x", {name32 + " 240 eA=="}, {name32 + " 240 eA=="}},
      // The record holds 32 characters of a name, and by name nobody is registered under those.
      {name32 + "n", "x", {}, {name32 + " 240 eA=="}},
      {"empty", "", {}, {}},
  };
  for (const auto& [name, data, byName, ofInstance] : cases) {
    Register(page, name, listener);
    Raise(name, data);
    EXPECT_EQ(Heard(), ByInstance() ? ofInstance : byName) << name;
    page.Call("zubUnRegisterEventCallback", {name});
  }
}

TEST_P(EventsTest, AreDroppedOnAnotherThreadThanThePages) {
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

TEST_P(EventsTest, AreNotPostedWithoutDataNameOrPage) {
  Register(page, "app", listener);
  void* const own = context;
  Page other(host, "https://other.example/", window.handle());
  Listener others{host};
  Register(other, "other", others);
  const std::tuple<const char*, uint32_t, uint32_t, void*, const char*> rows[] = {
      {nullptr, 102, 3, own, nullptr},
      {"app", 101, 3, own, nullptr},
      {"unknown", 9, 0, own, nullptr},
      {nullptr, 101, 1, context, "x"},  // Another page's instance.
  };
  for (const auto& [name, id, size, of, data] : rows) {
    ByInstance() ? instance(id, size, data, 1, of) : applet(name, size, data, 1);
  }
  page.Call("zubUnRegisterEventCallback", {"app"});
  ByInstance() ? instance(101, 1, "x", 1, own) : applet("app", 1, "x", 1);
  PumpMessages();
  EXPECT_FALSE(window.HasReceived(kAgentEvent));
  EXPECT_EQ(Heard(), Calls{});
}

TEST_P(EventsTest, MessagesWithoutARecordArePassedOn) {
  passed = 0;
  HHOOK const older = SetWindowsHookExA(WH_GETMESSAGE, CountPassed, nullptr, GetCurrentThreadId());
  Register(page, "app", listener);
  Raise("app", "w");
  EXPECT_EQ(Heard(), Calls{"app 240 dw=="});
  EXPECT_EQ(passed, 1) << "a thread's own hook comes first";
  TestWindow other;
  Raise("app", "x");
  MSG message{};
  ASSERT_TRUE(PeekMessageA(&message, window.handle(), kAgentEvent, kAgentEvent, PM_NOREMOVE));
  ASSERT_TRUE(PostMessageA(window.handle(), kAgentEvent, message.wParam, 0));
  EXPECT_EQ(Heard(), Calls{"app 240 eA=="}) << "peeked and repeated";
  EXPECT_TRUE(window.HasReceived(kAgentEvent));
  for (const WPARAM word : {WPARAM{0}, WPARAM{1}, WPARAM{0xDEADBEEF}, message.wParam}) {
    ASSERT_TRUE(PostMessageA(window.handle(), kAgentEvent, word, 0));
  }
  Raise("app", "y");
  ASSERT_TRUE(PeekMessageA(&message, window.handle(), kAgentEvent, kAgentEvent, PM_NOREMOVE));
  ASSERT_TRUE(PostMessageA(other.handle(), kAgentEvent, message.wParam, 0));
  EXPECT_EQ(Heard(), Calls{"app 240 eQ=="});
  EXPECT_GT(passed, 0);
  UnhookWindowsHookEx(older);
}

TEST_P(EventsTest, ThatMeetADeliveryComeAfterItInOrderUnlessTheyAreReleased) {
  const Page third(host);
  third.Call("zubInit");
  page.Call("zubInit");
  const auto raise = [&] { Raise("app", "2"), Raise("app", "3"); };
  const struct {
    const char* what;
    std::function<void()> inDelivery;
    size_t heard;
    bool areInQueue = false;
  } rows[] = {
      {"the page unregisters", [&] { raise(), page.Call("zubUnRegisterEventCallback", {"app"}); }, 1},
      {"the page gives an initialisation back", [&] { raise(), page.Call("zubDeInit"), page.Call("zubInit"); }, 1},
      {"the page pumps messages", [&] { raise(), PumpMessages(); }, 3},
      {"the delivering thread enters", [&] { Enter("app", "2"), Enter("app", "3"); }, 3},
      {"the page registers another name", [&] { raise(), Register(page, "other", listener), PumpMessages(); }, 3},
      {"too many come",
       [&] {
         for (int i = 0; i < 10'001; ++i) Enter("app", "2");
       },
       10'001},
      {"they were queued and the page pumps messages", [] { PumpMessages(); }, 1, true},
      {"they were queued and the page's thread peeks",
       [] {
         MSG message;
         PeekMessageA(&message, nullptr, kAgentEvent, kAgentEvent, PM_NOREMOVE);
       },
       3, true},
  };
  for (const auto& [what, inDelivery, heard, areInQueue] : rows) {
    Register(page, "app", listener);
    Raise("app", "1");
    if (areInQueue) raise();
    listener.then = inDelivery;
    const Calls came = Heard();
    EXPECT_EQ(came.size(), heard) << what;
    EXPECT_TRUE(std::ranges::is_sorted(came)) << what;
    page.Call("zubUnRegisterEventCallback", {"app"});
  }
}

TEST_P(EventsTest, OnTheirWayEndWithThePageOrItsWindow) {
  TestWindow second;
  Page going(host, "https://going.example/", second.handle());
  Listener gone{host};
  Register(going, "going", gone);
  Raise("going", "x");
  // Destroyed inside a registration that the library then doesn't take back.
  for (const char* entry : {"ZUB3_StopInstance", "ZUB_UnregisterEventCb"}) agent.On(entry, Refuses(77));
  inRegistration = [&] { going.Destroy(); };
  EXPECT_TRUE(Register(going, "left", gone).starts_with("pluginRetCode=13"));
  EXPECT_EQ(Register(going, "other", gone), "pluginRetCode=13");
  EXPECT_TRUE(Register(page, "left", listener).starts_with("pluginRetCode=0 fnRetCode=0"));
  going.End();
  EXPECT_EQ(Heard(gone), Calls{});
  Register(page, "app", listener);
  Raise("app", "x");
  window.Destroy();
  Raise("app", "y");
  const size_t before = CountLiveMemory().blocks;
  Raise("app", "z");
  EXPECT_EQ(CountLiveMemory().blocks, before) << "a record that was not posted";
  EXPECT_EQ(Heard(), Calls{});
}

// One page releases its events while another registers, is in its callback, or has an event on its way.
TEST_P(EventsTest, OfOnePageOutlastAReleaseByAnother) {
  enum State { Registers, IsInItsCallback, HasAnEventOnItsWay };
  const struct {
    const char* what;
    std::function<void(Page&, int32_t instanceId)> release;
    bool removesHook = false;
    bool isLastUser = false;
  } rows[] = {
      {"unregisters", [](Page& other, int32_t) { other.Call("zubUnRegisterEventCallback", {"other"}); }, ByInstance()},
      {"gives its initialisation back", [](Page& other, int32_t) { other.Call("zubDeInit"); }},
      {"stops its instance", [](Page& other, int32_t id) { other.Call("zubStopInstance", {id}); }, true},
      {"is destroyed", [](Page& other, int32_t) { other.Destroy(); }},
      {"ends", [](Page& other, int32_t) { other.End(); }},
      {"is destroyed inside a registration of its own",
       [&](Page& other, int32_t) {
         const std::pair before(lastInstance, context);
         inRegistration = [&] { other.Destroy(); };
         Register(other, "late", listener);
         std::tie(lastInstance, context) = before;
       }},
      {"takes the library down", [](Page& other, int32_t) { other.Call("zubDeInit"); }, true, true},
      {"ends as the last user", [](Page& other, int32_t) { other.End(); }, true, true},
  };
  for (const auto& [what, release, removesHook, isLastUser] : rows) {
    for (const State state : {Registers, IsInItsCallback, HasAnEventOnItsWay}) {
      const std::string row = std::string(what) + " in state " + std::to_string(state);
      const size_t first = removesHook && state == HasAnEventOnItsWay ? 0 : 1;
      const size_t later = isLastUser && state != Registers ? 0 : 1;
      agentInitCount = {};
      const Page third(host, "https://third.example/");
      if (!isLastUser) third.Call("zubInit");
      Page staying(host, "https://staying.example/", window.handle());
      Page other(host, "https://other.example/", window.handle());
      other.Call("zubInit");
      Listener others{host};
      Register(other, "other", others);
      const auto releases = [&, release = release, id = static_cast<int32_t>(lastInstance)] { release(other, id); };
      if (state == Registers) inRegistration = releases;
      Register(staying, "app", listener);
      const uint32_t own = lastInstance;
      void* const ownContext = context;
      if (state == IsInItsCallback) listener.then = releases;
      Raise("app", "x");
      if (state == HasAnEventOnItsWay) releases();
      EXPECT_EQ(Heard().size(), first) << row;
      if (removesHook && state != Registers) InstallHookAgain();
      lastInstance = own;
      context = ownContext;
      Raise("app", "later");
      EXPECT_EQ(Heard().size(), later) << row;
      EXPECT_EQ(others.heard, Calls{}) << row;
    }
  }
}

TEST_P(EventsTest, OfAReusedNameOrIdOutlastTheEndOfItsFormerPage) {
  const Page third(host);
  Page other(host, "https://other.example/", window.handle());
  Listener others{host};
  Register(page, "app", listener);
  for (const char* method : {"zubInit", "zubDeInit", "zubInit"}) other.Call(method);  // The second takes it down.
  third.Call("zubInit");
  started = 100;
  Register(other, "app", others);
  agent.TakeCalls();
  page.Destroy();
  EXPECT_EQ(agent.TakeCalls(), Calls{});
  Raise("app", "x");
  EXPECT_EQ(Heard(others).size(), 1U);
}

// The library's version may change between two pages: an update has replaced it.
TEST_P(EventsTest, OfANameOutlastTheStopOfInstancesWithoutEvents) {
  if (ByInstance()) return;
  const Page third(host);
  third.Call("zubInit");
  Register(page, "app", listener);
  agent.SetVersion(3);
  Page later(host, "https://later.example/", window.handle());
  later.Call("zubInit");
  later.Call("zubSendData", {"unlistened", 7, 2, "aGk="});
  later.Call("zubDeInit");
  Raise("app", "x");
  EXPECT_EQ(Heard().size(), 1U);
}

TEST_P(EventsTest, NamesOfAPageThatEndsAreUnregisteredOnce) {
  page.Call("zubInit");
  const std::string entry = ByInstance() ? "ZUB3_StopInstance" : "ZUB_UnregisterEventCb";
  for (const bool initialises : {false, true}) {
    if (ByInstance() && !initialises) continue;  // Its instances end with the library.
    Page ending(host, "https://ending.example/", window.handle());
    if (initialises) ending.Call("zubInit");
    for (const char* name : {"one", "two", "three"}) Register(ending, name, listener);
    agent.TakeCalls();
    ending.End();
    Calls calls = agent.TakeCalls();
    std::erase_if(calls, [&](const std::string& call) { return !call.starts_with(entry); });
    EXPECT_EQ(std::set<std::string>(calls.begin(), calls.end()).size(), 3U);
    EXPECT_EQ(calls.size(), 3U);
    for (const char* name : {"one", "two", "three"}) {
      EXPECT_TRUE(Register(page, name, listener).starts_with("pluginRetCode=0 fnRetCode=0"));
      page.Call("zubUnRegisterEventCallback", {name});
    }
  }
}

TEST_P(EventsTest, RegistrationRefusesWhatItCannotServe) {
  NPObject* const function = listener.function;
  const std::tuple<std::vector<Value>, const char*> cases[] = {
      {{"", function}, "pluginRetCode=12"},
      {{"app", "text"}, "pluginRetCode=12"},
      {{5, function}, "pluginRetCode=13"},
      {{"app", page.Object()}, "pluginRetCode=13"},
  };
  for (const auto& [arguments, answer] : cases)
    EXPECT_EQ(page.Call("zubRegisterEventCallback", arguments).Show(), answer);
  page.Call("zubInit");
  Register(page, "app", listener);
  page.Call("zubDeInit");  // The hook goes too.
  agent.TakeCalls();
  if (platform::kHasLayerSettings) {
    const platform::FailCall refused("SetWindowsHookExA", ERROR_ACCESS_DENIED);
    EXPECT_EQ(Register(page, "app", listener), "pluginRetCode=22");
    EXPECT_EQ(agent.TakeCalls(), Calls{});
    const platform::FailCall refusedThen("SetWindowsHookExA", ERROR_ACCESS_DENIED, 2);
    inRegistration = [&] { page.Call("zubStopInstance", {4711}); };  // Removes the hook: no instance is left.
    EXPECT_TRUE(Register(page, "app", listener).starts_with("pluginRetCode=13")) << "and is undone";
  }
  registrationStatus = 77;
  EXPECT_EQ(page.Call("zubRegisterEventCallback", {"app", function}).Int("fnRetCode"), 77);
  Enter("app", "x");
  registrationStatus = 0;
  EXPECT_TRUE(Register(page, "app", listener).starts_with("pluginRetCode=0 fnRetCode=0"));
  agent.TakeCalls();
  Listener second{host};
  EXPECT_EQ(Register(page, std::string("app\0x", 5), second), "pluginRetCode=22");
  EXPECT_EQ(agent.TakeCalls(), Calls{});
  Raise("app", "x");
  EXPECT_EQ(Heard(second).size(), 1U) << "the function is replaced before the name is looked at";

  Page windowless(host);
  NPWindow none{};
  Module().setwindow(windowless.Instance(), &none);
  EXPECT_EQ(Register(windowless, "other", listener), "null");
  windowless.Call("zubSendData", {"unlistened", 7, 2, "aGk="});  // Starts an instance without events.
  const std::string unknown = ByInstance() ? "pluginRetCode=22" : "pluginRetCode=12";
  for (const char* name : {"unknown", "unlistened"}) {
    EXPECT_EQ(windowless.Call("zubUnRegisterEventCallback", {name}).Show(), unknown) << name;
  }
  EXPECT_EQ(page.Call("zubUnRegisterEventCallback", {""}).Show(), "pluginRetCode=12");

  agent.On(ByInstance() ? "ZUB3_StopInstance" : "ZUB_UnregisterEventCb", Refuses(77));
  EXPECT_EQ(page.Call("zubUnRegisterEventCallback", {"app"}).Int("fnRetCode"), 77);
  if (ByInstance()) page.Call("zubStopInstance", {static_cast<int32_t>(lastInstance)});
  Raise("app", "still registered");
  EXPECT_EQ(Heard(second).size(), 1U);
}

TEST_P(EventsTest, WaitForAHookUpToALimit) {
  Register(page, "app", listener);
  page.Call("zubStopInstance", {4711});  // Removes the hook: the page has no such instance, nor another.
  constexpr size_t kLimit = 10'000;
  if (ByInstance()) return;
  // Without the hook the messages leave the queue, but their records stay.
  for (size_t i = 0; i < kLimit - 1; ++i) Enter("app", "x");
  PumpMessages();
  for (int i = 0; i < 3; ++i) Enter("app", "x");
  InstallHookAgain();
  EXPECT_EQ(Heard().size(), 1U);
  // A hook that was installed twice would still be there.
  Raise("app", "x");
  page.Call("zubStopInstance", {4711});
  EXPECT_EQ(Heard(), Calls{});
}

TEST_P(EventsTest, AThousandFromEightThreadsComeOnceOrNotAtAll) {
  Register(page, "app", listener);
  std::atomic<int> running = 8;
  std::vector<std::thread> library;
  for (int t = 0; t < 8; ++t) {
    library.emplace_back([&, t, byName = applet, byNumber = instance, of = context] {
      for (int i = 0; i < 125; ++i) {
        const int32_t data = t * 1000 + i;
        ByInstance() ? byNumber(101, sizeof data, &data, 1, of) : byName("app", sizeof data, &data, 1);
      }
      --running;
    });
  }
  while (running > 0) {
    PumpMessages();
    InstallHookAgain();
  }
  for (std::thread& thread : library) thread.join();
  const Calls heard = Heard();
  EXPECT_EQ(std::set<std::string>(heard.begin(), heard.end()).size(), heard.size()) << "one came twice";
}
