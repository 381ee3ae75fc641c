// What the display's hooks and frames cost, beside the floor under each: a look-up, the library's own call, a decode.
#include <benchmark/benchmark.h>

#include <string>
#include <unordered_map>
#include <vector>

#include "api/scriptable.h"
#include "bench/bench_host.h"
#include "foundation/base64.h"
#include "platform/testing.h"
#include "shell/plugin.h"

namespace {

using namespace NorvoWebAPI;
using namespace NorvoWebAPI::KSV;

constexpr UINT kMessage = WM_USER + 1;

void Call(const char* method, const std::vector<NPVariant>& args) {
  Bench::ThePage().Call(Bench::Identifier(method), args);
}

// A page in whose window an image of 200 by 100 stands.
class ShowingPage {
 public:
  ShowingPage() {
    Plugin* const plugin = Plugin::Of(Bench::ThePage().Instance());
    NPWindow given{};
    given.window = window.handle();
    plugin->SetWindow(&given);
    const std::string empty;
    const std::string zero = "{0,0}";
    const std::string size = "{200,100}";
    const NPVariant number = Bench::Number(1);
    const NPVariant point = Bench::Text(zero);
    Call("wysCreateStdImage", {number, number, point, Bench::Text(size), number, point, number, number, number, number,
                               point, Bench::Text(empty), number, number});
    function.referenceCount = 1;
  }
  ~ShowingPage() {
    page.mouseDownCallback.reset();
    page.mouseUpCallback.reset();
    Call("wysCloseSession", {});
  }
  ShowingPage(const ShowingPage&) = delete;
  ShowingPage& operator=(const ShowingPage&) = delete;

  DisplayState::Callback Function() {
    return std::make_shared<NPJSConverter::NPFuncBridge>(Bench::ThePage().Instance(), &Bench::HostFuncs(), &function);
  }

  platform::TestWindow window;
  Scriptable& page = *Plugin::Of(Bench::ThePage().Instance())->GetScriptable();

 private:
  Bench::ListedObject function{};
};

void SendMessages(benchmark::State& state, HWND window) {
  for (auto _ : state) benchmark::DoNotOptimize(SendMessageA(window, kMessage, 0, 0));
}

void FloorSendMessage(benchmark::State& state) {
  const platform::TestWindow window;
  SendMessages(state, window.handle());
}
BENCHMARK(FloorSendMessage);

void FloorWindowLookUp(benchmark::State& state) {
  const platform::TestWindow window;
  const std::unordered_map<HWND, Plugin*> windows{{window.handle(), nullptr}};
  for (auto _ : state) benchmark::DoNotOptimize(windows.find(window.handle()));
}
BENCHMARK(FloorWindowLookUp);

// Above the message itself and the layer's walk along its hooks: one look-up.
void ForeignMessagePassesHooks(benchmark::State& state) {
  const ShowingPage page;
  const platform::TestWindow foreign;
  SendMessages(state, foreign.handle());
}
BENCHMARK(ForeignMessagePassesHooks);

void FloorRepaint(benchmark::State& state) {
  ShowingPage showing;
  JSObject result;
  for (auto _ : state) showing.page.Display().RepaintImage(0, 1, result);
}
BENCHMARK(FloorRepaint);

// Above a message through the hooks and the wrapper's call: finding the page, its two flags.
void RepaintPulse(benchmark::State& state) {
  const ShowingPage showing;
  SendMessages(state, showing.window.handle());
}
BENCHMARK(RepaintPulse);

// A press and a release, each told to the page and answered by a call of it.
void ClickToPageAndBack(benchmark::State& state) {
  ShowingPage showing;
  showing.page.mouseDownCallback = showing.Function();
  showing.page.mouseUpCallback = showing.Function();
  const std::string point = "{5,5}";
  for (auto _ : state) {
    showing.window.PressLeft(5, 5);
    platform::PumpMessages();
    Call("wysMouseDown", {Bench::Text(point)});
    showing.window.ReleaseLeft(5, 5);
    platform::PumpMessages();
    Call("wysMouseUp", {Bench::Text(point)});
  }
}
BENCHMARK(ClickToPageAndBack);

constexpr int32_t kFrameBytes = 1 << 20;

void FloorDecodeFrame(benchmark::State& state) {
  const std::string text = EncodeBase64(std::vector<uint8_t>(kFrameBytes).data(), kFrameBytes);
  for (auto _ : state) benchmark::DoNotOptimize(DecodeBase64(text.data(), static_cast<int32_t>(text.size())));
}
BENCHMARK(FloorDecodeFrame);

// The text is copied once out of the page, and decoded once.
void SubmitFrame(benchmark::State& state) {
  const ShowingPage showing;
  const std::string text = EncodeBase64(std::vector<uint8_t>(kFrameBytes).data(), kFrameBytes);
  const std::string point = "{0,0}";
  for (auto _ : state) Call("wysSubmitFrame", {Bench::Number(1), Bench::Text(point), Bench::Text(text)});
}
BENCHMARK(SubmitFrame);

}  // namespace
