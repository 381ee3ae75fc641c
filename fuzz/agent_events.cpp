// The agent's event entries and the message that carries an event: any name, bytes, number and context, from the
// browser's thread and others, among forged messages, to pages that register, release, throw and end.
#include <optional>
#include <thread>

#include "fuzz/support/fuzzing.h"
#include "hooks/event_delivery.h"
#include "page/scriptable.h"
#include "platform/desktop.h"
#include "tests/support/page.h"

using namespace NorvoWebAPI::KSV;
using namespace support;

namespace {

constexpr const char* kNames[] = {"app", "other", "", "a\xFF"};

class Events {
 public:
  Events(fuzz::Input& given, AgentStub& agent) : input(given) {
    agentInitCount = {};
    agent.On("ZUB_GetVersion", [version = given.ConsumeBool() ? 3U : 2U](AgentCall& call) { *call.value = version; });
    agent.OnOthers([this](AgentCall& call) {
      if (call.instanceCallback) context = call.context;
      if (call.value) *call.value = 100 + input.ConsumeIntegralInRange<uint32_t>(0, 10);
      call.status = input.OnceIn(8) ? input.Number() : 0;
      GiveNothing(call);
      if (input.OnceIn(4)) Tell(false);
    });
    page.Call("zubInit");
  }
  ~Events() {
    page.End();
    RemoveEventHook();
  }
  Events(const Events&) = delete;
  Events& operator=(const Events&) = delete;

  void Act() {
    switch (input.ConsumeIntegralInRange(0, 7)) {
      case 0:
        if (page.Object()) page.Call("zubRegisterEventCallback", {input.Pick(kNames), Listener()});
        return;
      case 1:
        if (page.Object()) page.Call("zubUnRegisterEventCallback", {input.Pick(kNames)});
        return;
      case 2:
        if (page.Object()) page.Call(input.ConsumeBool() ? "zubDeInit" : "zubInit");
        return;
      case 3:
        return platform::PumpMessages();
      case 4:
        if (window->handle()) PostMessageA(window->handle(), WM_AGENT_EVENT, static_cast<uint32_t>(input.Number()), 0);
        return;
      case 5:
        if (!input.OnceIn(8)) return;
        return input.ConsumeBool() ? window->Destroy() : page.End();
      default:
        Tell(input.OnceIn(8));
    }
  }

 private:
  Value Listener() {
    return host.NewFunction([this](const std::vector<Value>&, Value&) {
      if (++depth < 4) Act();
      --depth;
      return !input.OnceIn(4);
    });
  }
  // From another thread only where nothing is delivered: an entry would wait for the end of that.
  void Tell(bool apart) {
    const std::string bytes = input.Text();
    const std::string name = input.ConsumeBool() ? input.Pick(kNames) : input.Text();
    const auto id =
        input.ConsumeBool() ? input.ConsumeIntegralInRange<uint32_t>(100, 110) : static_cast<uint32_t>(input.Number());
    const bool byName = input.ConsumeBool();
    void* const to = input.OnceIn(8) ? &input : context;
    const void* const data = input.OnceIn(16) ? nullptr : bytes.data();
    const auto tell = [&] {
      const auto size = static_cast<uint32_t>(bytes.size());
      byName ? CallbackEvent(name.c_str(), size, data, 3) : InstanceCallbackEvent(id, size, data, 3, to);
    };
    if (apart && depth == 0) {
      std::thread(tell).join();
    } else {
      tell();
    }
  }

  fuzz::Input& input;
  TestHost host;
  std::optional<platform::TestWindow> window{std::in_place};
  Page page{host, "https://page.example/", window->handle()};
  void* context = nullptr;
  int depth = 0;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static AgentStub& agent = *new AgentStub(fuzz::World());
  fuzz::Input input(data, size);
  {
    Events events(input, agent);
    for (int count = 0; count < 60 && !input.Done(); ++count) events.Act();
  }
  agent.TakeCalls();
  return 0;
}
