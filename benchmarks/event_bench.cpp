// What an event costs on its way from the library to the page's function.
#include <benchmark/benchmark.h>

#include <array>
#include <cstdio>
#include <memory>
#include <thread>

#include "benchmarks/bench_host.h"
#include "benchmarks/floors.h"
#include "benchmarks/pairs.h"
#include "hooks/event_delivery.h"
#include "hooks/event_template.h"
#include "page/plugin.h"
#include "page/scriptable.h"
#include "platform/desktop.h"

namespace {

using namespace NorvoWebAPI::KSV;

constexpr char kApplet[] = "bench";
constexpr UINT kForeignMessage = WM_USER + 1;

// A page with a window that hears the events of one applet.
class ListeningPage {
 public:
  ListeningPage() {
    auto* const plugin = static_cast<Plugin*>(page.Instance()->pdata);
    NPWindow given{};
    given.window = window.handle();
    plugin->SetWindow(&given);
    function.referenceCount = 1;
    plugin->GetScriptable()->agentEventCallback = std::make_shared<NorvoWebAPI::NPJSConverter::NPFuncBridge>(
        page.Instance(), &Bench::HostFuncs(), &function, plugin->GetScriptable()->SharedLife());
    static_cast<void>(InstallEventHook());  // Without it no event comes, which the benchmark reports.
    EventRoutes::Insert(kApplet, plugin->GetScriptable()->SharedLife());
  }
  ~ListeningPage() { EventTemplate::ClearEvents(); }
  ListeningPage(const ListeningPage&) = delete;
  ListeningPage& operator=(const ListeningPage&) = delete;

  platform::TestWindow window;

 private:
  Bench::Page& page = Bench::ThePage();
  Bench::ListedObject function{};
};

void LogLine() {
  std::array<char, 128> line;
  std::snprintf(line.data(), line.size(), "[%d] [%s] %s\n", static_cast<int>(GetCurrentThreadId()), kEventLogTag,
                "CallbackEvent");
  OutputDebugStringA(line.data());
}

// What is left of an event's entry: two lines that are logged at every level, and the message.
void PostLogged(HWND window) {
  LogLine();
  PostMessageA(window, kForeignMessage, 1, 0);
  LogLine();
}

// What is left of its delivery: again two lines, the object for the page, and the call of its function.
LRESULT CALLBACK Deliver(int code, WPARAM wParam, LPARAM lParam) {
  LogLine();
  Bench::TellFunction(3);
  LogLine();
  return Bench::BareHook::PassOn(code, wParam, lParam);
}

void PostAndTake(benchmark::State& state, HWND window) {
  MSG message{};
  for (auto _ : state) {
    PostMessageA(window, kForeignMessage, 1, 0);
    benchmark::DoNotOptimize(PeekMessageA(&message, window, 0, 0, PM_REMOVE));
  }
}

void FloorForeignMessage(benchmark::State& state) {
  const Bench::BareHook hook(WH_GETMESSAGE);
  const platform::TestWindow window;
  PostAndTake(state, window.handle());
}

void ForeignMessage(benchmark::State& state) {
  const ListeningPage page;
  PostAndTake(state, page.window.handle());
}

void FloorEvent(benchmark::State& state) {
  const Bench::BareHook hook(WH_GETMESSAGE, Deliver);
  const platform::TestWindow window;
  for (auto _ : state) {
    PostLogged(window.handle());
    platform::PumpMessages();
  }
}

void Event(benchmark::State& state) {
  const ListeningPage page;
  for (auto _ : state) {
    CallbackEvent(kApplet, 4, "data", 1);
    platform::PumpMessages();
  }
}

// Two thousand times `enter` on a thread of the library's; then this one takes the messages. Side by side the two would
// wait for each other or not as the machine's other work has it, and no two runs would give one ratio.
template <typename Entry>
void FromALibraryThread(benchmark::State& state, Entry enter) {
  for (auto _ : state) {
    std::thread library([&] {
      for (int i = 0; i < 2000; ++i) enter();
    });
    library.join();
    platform::PumpMessages();
  }
}

void FloorLibraryThread(benchmark::State& state) {
  const Bench::BareHook hook(WH_GETMESSAGE, Deliver);
  const platform::TestWindow window;
  FromALibraryThread(state, [&] { PostLogged(window.handle()); });
}

void LibraryThread(benchmark::State& state) {
  const ListeningPage page;
  const size_t before = Bench::functionCalls;
  FromALibraryThread(state, [] { CallbackEvent(kApplet, 4, "data", 1); });
  if (Bench::functionCalls == before) state.SkipWithError("No event reached the page");
}

const Bench::Pairs pairs{
    {"foreign message posted", ForeignMessage, "the message past a bare hook", FloorForeignMessage},
    {"event, entry to function", Event, "a message past a bare hook, four log lines, an object, the function's call",
     FloorEvent},
    {"2,000 events from a thread", LibraryThread, "as many times the same", FloorLibraryThread},
};

}  // namespace
