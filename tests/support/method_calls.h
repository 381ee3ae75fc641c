/// A world in which every script method goes well, and arguments for it: both follow from the table of methods, so that
/// a new row is called too.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <string_view>

#include "api/method_table.h"
#include "page/scriptable.h"
#include "platform/desktop.h"
#include "tests/support/environment.h"
#include "tests/support/page.h"

namespace support {

using NorvoWebAPI::KSV::MethodRow;

/// What goes well, by the argument's demand and name.
inline Value GoodArgument(const NorvoWebAPI::KSV::Argument& argument, TestHost& host, const Function& function) {
  using NorvoWebAPI::KSV::ArgumentKind;
  const std::string_view name = argument.name;
  switch (argument.kind) {
    case ArgumentKind::Number:
    case ArgumentKind::Unsigned:
      if (name == "sessionHandle") return host.Object({{"read", 1}, {"out", "whole"}});  // Counts as 1.
      return name.ends_with("apacity") ? 64 : 3;
    case ArgumentKind::Flag:
      return true;
    case ArgumentKind::Function:
      return host.NewFunction(function);
    default:
      if (name == "tokenFileName") return "token";
      if (name.ends_with("Token")) return "";  // So that it is taken from the file.
      if (name.starts_with("b64") || name == "logoText") return "AQID";
      return name.ends_with("Text") ? "{1,1}" : "app";
  }
}

inline std::vector<Value> GoodArguments(const MethodRow& row, TestHost& host, const Function& function = {}) {
  std::vector<Value> arguments;
  for (size_t i = 0; i < row.ArgumentCount(); ++i) {
    arguments.push_back(GoodArgument(row.arguments[i], host, function));
  }
  return arguments;
}

class MethodCallsTest : public testing::Test {
 protected:
  MethodCallsTest() {
    agent.OnOthers([this](AgentCall& call) {
      const std::string_view entry = call.entry;
      if (entry == "ZUB3_StartInstance" || entry == "ZUB_RegisterEventCb") ++running;
      if (entry == "ZUB3_StopInstance" || entry == "ZUB_UnregisterEventCb") --running;
      if (entry == "ZUB_DeInit") running = 0;
      for (int32_t i = 0; i < call.outputCount; ++i) {
        *call.outputLength[i] = 4;
        std::fill_n(call.output[i], 4, uint8_t{'1'});
      }
      if (call.value) *call.value = 7;
      if (call.appletCallback) registered = call.appletCallback;
      if (call.instanceCallback) started = call.instanceCallback, context = call.context;
    });
    display.OnOthers([](DisplayCall& call) {
      if (call.value) *call.value = 7;
      if (call.length && call.bytes) std::fill_n(call.bytes, 3, uint8_t{1});
      if (call.length) *call.length = 3;
    });
  }

  void SetGeneration(uint32_t version) {
    generation = version;
    agent.On("ZUB_GetVersion", [version](AgentCall& call) { *call.value = version; });
  }
  std::vector<Value> Arguments(const MethodRow& row, TestHost& host) {
    return GoodArguments(row, host, [this](const std::vector<Value>&, Value&) { return ++heard > 0; });
  }

  /// What a method needs to go well: both libraries, an image on the page's window, a token, and nothing of an earlier
  /// call.
  void Prepare(const Page& page, TestHost& host, std::string_view method) {
    using NorvoWebAPI::KSV::RowOf;
    const auto call = [&](const MethodRow& row) { page.Call(row.name, Arguments(row, host)); };
    call(RowOf("zubInit"));
    call(RowOf("wysInit"));
    call(RowOf("wysEstablishSession"));
    call(RowOf("wysCreateStdImage"));
    call(RowOf("setMouseDownCallback"));
    call(RowOf("setMouseUpCallback"));
    call(RowOf("setDisplayEventsCallback"));
    if (method == "zubUnRegisterEventCallback") call(RowOf("zubRegisterEventCallback"));
    if (method == "wysSubmitFrame") call(RowOf("wysSubmitFrame"));
    const std::string token = "KSV_tokens/https_page.example/token";
    if (method.starts_with("zubEndProvisioning")) {
      std::filesystem::remove_all(environment.Path("KSV_tokens"));
    } else if (!environment.Read(token)) {
      environment.Write(token, "1234");
    }
  }
  /// An event of the library's for the applet, and all that waits in the thread's queue.
  void Raise() const {
    if (generation >= 3) started(7, 1, "x", 1, context);
    if (generation < 3) registered("app", 1, "x", 1);
    for (MSG message; PeekMessageA(&message, nullptr, 0, 0, PM_REMOVE);) continue;
  }
  void ForgetCalls() {
    agent.TakeCalls();
    display.TakeCalls();
  }

  Environment environment;
  AgentStub agent{environment};
  DisplayStub display{environment};
  platform::TestWindow window;
  uint32_t generation = 2;
  AgentEventCallback registered = nullptr;
  InstanceEventCallback started = nullptr;
  void* context = nullptr;
  int running = 0;   ///< Instances and registrations that the library was left with.
  size_t heard = 0;  ///< Calls of the functions among the arguments.
};

}  // namespace support
