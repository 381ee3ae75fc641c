// What the display's hooks, clicks and frames cost.
#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "base/base64.h"
#include "benchmarks/bench_host.h"
#include "benchmarks/floors.h"
#include "benchmarks/pairs.h"
#include "hooks/input_hooks.h"
#include "page/plugin.h"
#include "page/plugin_windows.h"
#include "page/scriptable.h"
#include "platform/desktop.h"
#include "vendor/ksvwys.h"

namespace {

using namespace NorvoWebAPI;
using namespace NorvoWebAPI::KSV;

constexpr UINT kMessage = WM_USER + 1;

// A method with the arguments that it is called with.
class PreparedCall {
 public:
  explicit PreparedCall(const char* method, std::vector<NPVariant> arguments = {})
      : id(Bench::Identifier(method)), args(std::move(arguments)) {}
  void operator()() const { benchmark::DoNotOptimize(Bench::ThePage().Call(id, args)); }

 private:
  NPIdentifier id;
  std::vector<NPVariant> args;
};

// A page in whose window an image of 200 by 100 stands.
class ShowingPage {
 public:
  ShowingPage() {
    auto* const plugin = static_cast<Plugin*>(Bench::ThePage().Instance()->pdata);
    NPWindow given{};
    given.window = window.handle();
    plugin->SetWindow(&given);
    const std::string empty;
    const std::string zero = "{0,0}";
    const std::string size = "{200,100}";
    const NPVariant number = Bench::Number(1);
    const NPVariant point = Bench::Text(zero);
    PreparedCall("wysCreateStdImage", {number, number, point, Bench::Text(size), number, point, number, number, number,
                                       number, point, Bench::Text(empty), number, number})();
    function.referenceCount = 1;
  }
  ~ShowingPage() {
    page.mouseDownCallback.reset();
    page.mouseUpCallback.reset();
    PreparedCall("wysCloseSession")();
    displayHooks.Remove();
  }
  ShowingPage(const ShowingPage&) = delete;
  ShowingPage& operator=(const ShowingPage&) = delete;

  DisplayState::Callback Function() {
    return std::make_shared<NPJSConverter::NPFuncBridge>(Bench::ThePage().Instance(), &Bench::HostFuncs(), &function,
                                                         page.SharedLife());
  }

  platform::TestWindow window;
  Scriptable& page = *static_cast<Plugin*>(Bench::ThePage().Instance()->pdata)->GetScriptable();

 private:
  Bench::ListedObject function{};
};

template <typename Signature>
Signature* DisplayEntry(const char* name) {
  return Bench::LibraryEntry<Signature>("ksvWys.dll", name);
}

// --- A method with an argument, of a library that does nothing --------------------------------------------------

using MouseEntry = decltype(WYSMouseDown);

void FloorMouseDown(benchmark::State& state) {
  MouseEntry* const mouseDown = DisplayEntry<MouseEntry>("WYSMouseDown");
  const Bench::MethodNames names;
  const WysPoint point{};
  for (auto _ : state) {
    names.LookUp();
    benchmark::DoNotOptimize(mouseDown(0, 1, &point));
    Bench::MakeAndReadResult();
  }
}

void MouseDown(benchmark::State& state) {
  const ShowingPage showing;
  const std::string point = "{5,5}";
  const PreparedCall call("wysMouseDown", {Bench::Text(point)});
  for (auto _ : state) call();
}

// --- Messages through the hooks ---------------------------------------------------------------------------------

void SendMessages(benchmark::State& state, HWND window) {
  for (auto _ : state) benchmark::DoNotOptimize(SendMessageA(window, kMessage, 0, 0));
}

void FloorForeignMessage(benchmark::State& state) {
  const Bench::BareHook hook(WH_CALLWNDPROC);
  const platform::TestWindow window;
  const std::unordered_map<HWND, Plugin*> windows{{window.handle(), nullptr}};
  for (auto _ : state) {
    benchmark::DoNotOptimize(windows.find(window.handle()));
    benchmark::DoNotOptimize(SendMessageA(window.handle(), kMessage, 0, 0));
  }
}

void ForeignMessage(benchmark::State& state) {
  const ShowingPage showing;
  const platform::TestWindow foreign;
  SendMessages(state, foreign.handle());
}

// A flag that the hooks read or turn, under its mutex and no longer.
void TouchFlag() {
  static const MutexOwner mutex(CreateMutexA(nullptr, FALSE, nullptr));
  WaitForSingleObject(mutex.Get(), 0);
  ReleaseMutex(mutex.Get());
}

// The button's flag is read, the repaint's set and cleared.
void FloorRepaintPulse(benchmark::State& state) {
  auto* const repaint = DisplayEntry<decltype(WYSRepaintImage)>("WYSRepaintImage");
  const Bench::BareHook hook(WH_CALLWNDPROC);
  const platform::TestWindow window;
  for (auto _ : state) {
    benchmark::DoNotOptimize(SendMessageA(window.handle(), kMessage, 0, 0));
    benchmark::DoNotOptimize(IsWindow(window.handle()));
    for (int i = 0; i < 3; ++i) TouchFlag();
    benchmark::DoNotOptimize(repaint(0, 1));
  }
}

void RepaintPulse(benchmark::State& state) {
  const ShowingPage showing;
  SendMessages(state, showing.window.handle());
}

// --- A click: press and release, each told to the page and answered by a call of it -----------------------------

LRESULT CALLBACK TellPage(int code, WPARAM wParam, LPARAM lParam) {
  TouchFlag();
  Bench::TellFunction(2);
  return Bench::BareHook::PassOn(code, wParam, lParam);
}

// Every message is a pulse too, which reads the button's flag and turns the repaint's.
LRESULT CALLBACK Pulse(int code, WPARAM wParam, LPARAM lParam) {
  TouchFlag();
  TouchFlag();
  return Bench::BareHook::PassOn(code, wParam, lParam);
}

template <typename Answer>
void Click(platform::TestWindow& window, Answer answer) {
  window.PressLeft(5, 5);
  platform::PumpMessages();
  answer("wysMouseDown");
  window.ReleaseLeft(5, 5);
  platform::PumpMessages();
  answer("wysMouseUp");
}

void FloorClick(benchmark::State& state) {
  MouseEntry* const mouseDown = DisplayEntry<MouseEntry>("WYSMouseDown");
  const Bench::BareHook mouseHook(WH_MOUSE, TellPage);
  const Bench::BareHook messageHook(WH_GETMESSAGE, Pulse);
  platform::TestWindow window;
  const Bench::MethodNames names;
  const WysPoint point{};
  for (auto _ : state) {
    Click(window, [&](const char* /*method*/) {
      names.LookUp();
      benchmark::DoNotOptimize(mouseDown(0, 1, &point));
      Bench::MakeAndReadResult();
    });
  }
}

void ClickAndBack(benchmark::State& state) {
  ShowingPage showing;
  showing.page.mouseDownCallback = showing.Function();
  showing.page.mouseUpCallback = showing.Function();
  const std::string point = "{5,5}";
  const PreparedCall down("wysMouseDown", {Bench::Text(point)});
  const PreparedCall up("wysMouseUp", {Bench::Text(point)});
  const size_t before = Bench::functionCalls;
  for (auto _ : state) {
    Click(showing.window, [&](std::string_view method) { (method == "wysMouseDown" ? down : up)(); });
  }
  if (Bench::functionCalls == before) state.SkipWithError("No click reached the page");
}

// --- A frame ----------------------------------------------------------------------------------------------------

std::string FrameText() {
  constexpr size_t kFrameBytes = size_t{1} << 20;
  return EncodeBase64(std::vector<uint8_t>(kFrameBytes).data(), kFrameBytes);
}

void FloorSubmitFrame(benchmark::State& state) {
  Bench::DecodeBare(state, FrameText());
}

void SubmitFrame(benchmark::State& state) {
  const ShowingPage showing;
  const std::string text = FrameText();
  const std::string point = "{0,0}";
  const PreparedCall call("wysSubmitFrame", {Bench::Number(1), Bench::Text(point), Bench::Text(text)});
  for (auto _ : state) call();
}

const Bench::Pairs pairs{
    {"wysMouseDown", MouseDown, "look-up, library's call, a result", FloorMouseDown},
    {"foreign message sent", ForeignMessage, "the message past a bare hook, a look-up", FloorForeignMessage},
    {"repaint pulse", RepaintPulse, "the message past a bare hook, IsWindow, three mutexes, library's call",
     FloorRepaintPulse},
    {"click and back", ClickAndBack,
     "two messages past bare hooks; for each three mutexes, an object, the function's call, library's call, a result",
     FloorClick},
    {"wysSubmitFrame, 1 MiB", SubmitFrame, "libb64's decode", FloorSubmitFrame},
};

}  // namespace
