#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/agent_fixture.h"

namespace support {

/// What the page's function was told, as in "app 240 AQID".
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
  std::function<void()> then;  ///< Runs inside the next delivery.
  Calls heard;
};

}  // namespace support
