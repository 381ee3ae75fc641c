// Pages that mean harm, a host that fails and libraries that lie, all at once: calls of every method with every kind of
// value, answered by lengths, statuses, throws, events (from other threads too), re-entries and page ends, with
// messages to the window between.
#include <list>
#include <thread>

#include "base/scope_exit.h"
#include "fuzz/support/hostile_libraries.h"
#include "fuzz/support/hostile_values.h"
#include "hooks/event_delivery.h"
#include "hooks/input_hooks.h"
#include "page/init_count.h"
#include "page/plugin_windows.h"
#include "page/scriptable.h"
#include "platform/desktop.h"
#include "tests/support/page.h"

using namespace NorvoWebAPI::KSV;
using namespace support;

namespace {

constexpr UINT kMessages[] = {WM_AGENT_EVENT, WM_DISPLAY_EVENT, WM_PAINT, WM_LBUTTONDOWN, WM_LBUTTONUP, WM_USER};

class Attack {
 public:
  explicit Attack(fuzz::Input& given) : input(given) {
    agentInitCount = displayInitCount = {};
    for (auto& page : pages) Open(page);
    if (input.ConsumeBool()) ShowImage();
  }
  ~Attack() {
    libraries.quiet = true;
    Disarm();
    kept.clear();
    for (auto& page : pages) page->End();
    platform::PumpMessages();
    RemoveEventHook();
    displayHooks.Remove();
    ResetClickState();
  }
  Attack(const Attack&) = delete;
  Attack& operator=(const Attack&) = delete;

  void Run() {
    while (steps < kMaxSteps && !input.Done()) Step();
  }

 private:
  static constexpr int kMaxSteps = 100;

  void Step() {
    if (libraries.quiet || depth == 4 || steps >= kMaxSteps || input.Done()) return;
    ++steps;
    ++depth;
    const NorvoWebAPI::ScopeExit end([this] { --depth; });
    Act();
  }

  void Open(std::unique_ptr<Page>& page) {
    void* const of = input.OnceIn(8) ? nullptr : static_cast<void*>(window->handle());
    page = std::make_unique<Page>(host, input.OnceIn(4) ? input.Text() : "https://page.example/", of);
    const auto anything = [this] {
      Step();
      return values.AnyValue();
    };
    if (input.OnceIn(8)) page->Window().Define("location", anything);
    if (!input.OnceIn(8)) return;
    ScriptObject* const location = host.Object();
    location->Define("toString", anything);
    page->Window().Set("location", location);
  }
  // What a page has to do before most of the display's methods do anything.
  void ShowImage() {
    libraries.quiet = true;
    const Value text = std::string("{100,50}");
    const Value none = std::string();
    pages[0]->Call("zubInit");
    pages[0]->Call("wysInit", {0, none});
    pages[0]->Call("wysEstablishSession");
    pages[0]->Call("wysCreateStdImage", {1, 9, text, text, 1, text, 1, 0, 1, 65, text, none, 0, 0});
    libraries.quiet = false;
  }
  void Disarm() {
    for (int fault = 0; fault <= static_cast<int>(Fault::GetURLNotify); ++fault)
      host.Fail(static_cast<Fault>(fault), 0);
  }

  void Act() {
    std::unique_ptr<Page>& page = pages[input.OnceIn(4) ? 1 : 0];
    const int deed = input.ConsumeIntegralInRange(0, 15);
    HWND const handle = window->handle();
    if (deed == 0) return host.Fail(AnyFault(), input.ConsumeIntegralInRange(1, 6));
    if (deed == 1) return TellOfEvent();
    if (deed == 2 && handle) PostMessageA(handle, input.Pick(kMessages), input.Word(), input.Word());
    if (deed == 3) return platform::PumpMessages();
    if (deed == 4 && handle) return input.ConsumeBool() ? window->PressLeft(5, 6) : window->ReleaseLeft(5, 6);
    if (deed == 5) return Touch(*page);
    if (deed == 6) return EndSomething(page);
    if (deed > 6 && page->Object()) Call(*page, AnyMethod());
  }
  Fault AnyFault() {
    return static_cast<Fault>(input.ConsumeIntegralInRange(0, static_cast<int>(Fault::GetURLNotify)));
  }
  const MethodRow& AnyMethod() { return kMethods[input.ConsumeIntegralInRange<size_t>(0, std::size(kMethods) - 1)]; }

  void Call(Page& page, const MethodRow& method) {
    std::vector<Value> arguments;
    const size_t count = method.ArgumentCount() - (method.ArgumentCount() > 0 && input.OnceIn(16));
    for (size_t i = 0; i < count; ++i) arguments.push_back(values.Wanted(method.arguments[i].kind));
    if (input.OnceIn(16)) arguments.push_back(values.AnyValue());
    Result result = page.Call(method.name, arguments);
    if (kept.size() < 8 && page.Object()) kept.push_back(std::move(result));
  }

  // The entries of the object's class, of the page's own object and of results, by hand.
  void Touch(Page& page) {
    NPObject* object = page.Object();
    if (!object) return;
    if (!kept.empty() && input.ConsumeBool()) {
      const Value value = kept.back().Get();
      if (const auto* const given = std::get_if<NPObject*>(&value)) object = *given;
    }
    const std::string name = input.ConsumeBool() ? AnyMethod().name : input.Text();
    const NPIdentifier id = input.ConsumeBool() ? host.Id(input.Number()) : host.Id(name);
    NPClass& table = *object->_class;
    NPVariant value = host.Make(values.AnyValue());
    NPVariant result{NPVariantType_Void, {}};
    NPIdentifier* ids = nullptr;
    uint32_t count = 0;
    host.Retain(object);
    const std::function<void()> entries[] = {
        [&] { table.hasMethod(object, id); },
        [&] { table.hasProperty(object, id) && table.getProperty(object, id, &result); },
        [&] { table.setProperty(object, id, &value); },
        [&] { table.removeProperty(object, id); },
        [&] { table.invokeDefault(object, &value, 1, &result); },
        [&] { table.enumerate(object, &ids, &count); },
        [&] { table.invoke(object, id, &value, 1, input.ConsumeBool() ? &result : nullptr); },
    };
    entries[input.ConsumeIntegralInRange<size_t>(0, std::size(entries) - 1)]();
    if (ids) host.Funcs().memfree(ids);
    host.Release(result);
    host.Release(value);
    if (!ended.contains(object)) host.Release(object);
  }
  Value Given() {
    if (!kept.empty() && pages[0]->Object() && pages[1]->Object() && input.ConsumeBool()) return kept.back().Get();
    return pages[0]->Object() ? Value(pages[0]->Object()) : Value();
  }

  void EndSomething(std::unique_ptr<Page>& page) {
    const int deed = input.ConsumeIntegralInRange(0, 7);
    NPWindow given{};
    if (input.ConsumeBool()) given.window = window->handle();
    if (deed == 0) return window->Destroy();
    if (deed == 1 && page->Object()) Module().setwindow(page->Instance(), &given);
    if (deed == 2) return kept.clear();
    if (deed == 3) return page->Destroy();
    if (deed == 4 && page->Object()) {
      ended.insert(page->Object());
      return page->End();
    }
    // A new page, but not while a call on the old one runs.
    if (deed == 5 && !page->Object() && depth == 1) {
      Disarm();
      kept.clear();
      return Open(page);
    }
    if (deed > 5)
      fuzz::World().SetLastUpdate(input.ConsumeBool() ? std::optional<int64_t>(input.Number()) : std::nullopt);
  }

  void TellOfEvent() {
    const std::string name = input.Text();
    const std::string bytes = input.Text();
    const auto size = static_cast<uint32_t>(bytes.size());
    const char* const data = input.OnceIn(8) ? nullptr : bytes.data();
    const uint32_t id = input.ConsumeBool() ? input.ConsumeIntegralInRange(0U, 9U) : input.Word();
    const bool isBroken = input.OnceIn(8);
    DisplayEventRecord record{input.Word(), {}, id, input.Word()};
    if (window->handle() && input.ConsumeBool()) {
      record.context = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(window->handle()));
    }
    std::function<void()> tell = [&] { DisplayEventCallback(isBroken ? nullptr : &record); };
    const int kind = input.ConsumeIntegralInRange(0, 2);
    if (kind == 0) tell = [&] { CallbackEvent(isBroken ? nullptr : name.c_str(), size, data, 1); };
    if (kind == 1) tell = [&] { InstanceCallbackEvent(id, size, data, 1, isBroken ? &input : libraries.context); };
    // A library's thread waits for the end of a delivery, and this thread would wait for it.
    depth == 1 && input.OnceIn(8) ? std::thread(tell).join() : tell();
  }

  fuzz::Input& input;
  TestHost host;
  std::optional<platform::TestWindow> window{std::in_place};
  std::unique_ptr<Page> pages[2];
  std::list<Result> kept;
  std::set<NPObject*> ended;
  int depth = 0;
  int steps = 0;
  fuzz::HostileLibraries libraries{input, [this] { Step(); }};
  fuzz::HostileValues values{input, host, [this] { Step(); }, [this] { return Given(); }};
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::World();
  fuzz::CleanBaseFolder();
  fuzz::Input input(data, size);
  Attack(input).Run();
  return 0;
}
