// What an event costs on its way from a library's thread to the page's function, beside a bare message.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

#include "api/scriptable.h"
#include "bench/bench_host.h"
#include "events/event_delivery.h"
#include "events/event_template.h"
#include "platform/testing.h"
#include "shell/plugin.h"

namespace {

using namespace NorvoWebAPI::KSV;
using Clock = std::chrono::steady_clock;

constexpr char kApplet[] = "bench";
constexpr UINT kForeignMessage = WM_USER + 1;

// A page with a window that hears the events of one applet.
class ListeningPage {
 public:
  ListeningPage() {
    Plugin* const plugin = Plugin::Of(page.Instance());
    NPWindow given{};
    given.window = window.handle();
    plugin->SetWindow(&given);
    function.referenceCount = 1;
    plugin->GetScriptable()->agentEventCallback =
        std::make_shared<NorvoWebAPI::NPJSConverter::NPFuncBridge>(page.Instance(), &Bench::HostFuncs(), &function);
    InstallEventHook();
    eventMap.Enter(kApplet, plugin);
  }
  ~ListeningPage() { EventTemplate::ClearEvents(); }
  ListeningPage(const ListeningPage&) = delete;
  ListeningPage& operator=(const ListeningPage&) = delete;

  platform::TestWindow window;

 private:
  Bench::Page& page = Bench::ThePage();
  Bench::ListedObject function{};
};

void PostAndTake(benchmark::State& state, HWND window) {
  MSG message{};
  for (auto _ : state) {
    PostMessageA(window, kForeignMessage, 1, 0);
    benchmark::DoNotOptimize(PeekMessageA(&message, window, 0, 0, PM_REMOVE));
  }
}

void FloorPostAndTakeMessage(benchmark::State& state) {
  const platform::TestWindow window;
  PostAndTake(state, window.handle());
}
BENCHMARK(FloorPostAndTakeMessage);

void ForeignMessageThroughHook(benchmark::State& state) {
  const ListeningPage page;
  PostAndTake(state, page.window.handle());
}
BENCHMARK(ForeignMessageThroughHook);

void EventEntryAndDelivery(benchmark::State& state) {
  const ListeningPage page;
  for (auto _ : state) {
    CallbackEvent(kApplet, 4, "data", 1);
    platform::PumpMessages();
  }
}
BENCHMARK(EventEntryAndDelivery);

// Events from a thread of the library, each with the time at which it entered; the page's function reads the clock.
void EventsFromALibraryThread(benchmark::State& state) {
  constexpr size_t kEvents = 2000;
  const ListeningPage page;
  std::vector<double> microseconds;
  size_t delivered = 0;
  for (auto _ : state) {
    Bench::calls.clear();
    std::vector<Clock::time_point> entered(kEvents);
    std::atomic<bool> running = true;
    std::thread library([&] {
      for (size_t i = 0; i < kEvents; ++i) {
        entered[i] = Clock::now();
        CallbackEvent(kApplet, 4, "data", 1);
      }
      running = false;
    });
    while (running) platform::PumpMessages();
    library.join();
    platform::PumpMessages();
    delivered += Bench::calls.size();
    // Without a loss, as here with one page, the events arrive in the order of their entries.
    for (size_t i = 0; i < Bench::calls.size() && Bench::calls.size() == kEvents; ++i) {
      microseconds.push_back(std::chrono::duration<double, std::micro>(Bench::calls[i] - entered[i]).count());
    }
  }
  state.SetItemsProcessed(static_cast<int64_t>(delivered));
  if (microseconds.empty()) return;
  std::ranges::sort(microseconds);
  state.counters["median_us"] = microseconds[microseconds.size() / 2];
  state.counters["p99_us"] = microseconds[microseconds.size() * 99 / 100];
}
BENCHMARK(EventsFromALibraryThread)->UseRealTime();

}  // namespace
