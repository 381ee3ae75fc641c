#pragma once

#include <gtest/gtest.h>

#include "page/init_count.h"
#include "page/plugin.h"
#include "page/scriptable.h"
#include "platform/desktop.h"
#include "tests/support/environment.h"
#include "tests/support/page.h"

namespace support {

using Arguments = std::vector<Value>;

inline constexpr char kWentWell[] = "pluginRetCode=0 fnRetCode=0";

/// A page with a window, on a stand-in library whose contexts are 70, sessions 7 and versions 9.
class DisplayTest : public testing::Test {
 protected:
  DisplayTest() {
    NorvoWebAPI::KSV::displayInitCount = {};
    display.On("WYSInit", [](DisplayCall& call) { *call.value = 70; });
    display.On("WYSEstablishSession", [](DisplayCall& call) { *call.value = 7; });
  }

  static NorvoWebAPI::KSV::Scriptable& StateOf(const Page& page) {
    return *static_cast<NorvoWebAPI::KSV::Plugin*>(page.Instance()->pdata)->GetScriptable();
  }
  NorvoWebAPI::KSV::Scriptable& State() { return StateOf(page); }

  /// The fourteen arguments of an image of 100 by 50, with some of them replaced.
  static Arguments Image(const std::map<size_t, Value>& changed = {}) {
    Arguments arguments{1,       9,          "{3,4}", "{100,50}", 0x01020304, "{5,6}", 0x11121314,
                        nullptr, 0x21222324, 65,      "{0,0}",    "",         nullptr, nullptr};
    for (const auto& [index, value] : changed) arguments[index] = value;
    return arguments;
  }
  /// Initialised, with a session and that image.
  static Result PutImage(const Page& on, const std::map<size_t, Value>& changed = {}) {
    on.Call("wysInit", {0, ""});
    on.Call("wysEstablishSession");
    return on.Call("wysCreateStdImage", Image(changed));
  }
  /// The same, and no call of it to be told of.
  void ShowImage(const Page& on, const std::map<size_t, Value>& changed = {}) {
    EXPECT_TRUE(PutImage(on, changed).Show().starts_with(kWentWell));
    platform::PumpMessages();
    display.TakeCalls();
  }
  /// A page function that runs `then` and notes what it was told.
  ScriptObject* Callback(std::function<void()> then = {}) {
    return host.NewFunction([this, then = std::move(then)](const std::vector<Value>& args, Value&) {
      heard.push_back(args.empty() ? "" : Result(host, true, host.Make(args[0])).Show());
      if (then) then();
      return true;
    });
  }
  std::vector<std::string> TakeHeard() { return std::exchange(heard, {}); }
  /// A message sent to the window, and how often the library was called meanwhile.
  size_t CallsOfAMessage() {
    display.TakeCalls();
    SendMessageA(window.handle(), WM_USER + 5, 0, 0);
    return display.TakeCalls().size();
  }

  Environment environment;
  DisplayStub display{environment};
  TestHost host;
  platform::TestWindow window;
  Page page{host, "https://page.example/", window.handle()};
  std::vector<std::string> heard;
  const DWORD browser = GetCurrentThreadId();
};

}  // namespace support
