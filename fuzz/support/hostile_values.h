#pragma once

#include "api/method_table.h"
#include "fuzz/support/fuzzing.h"
#include "tests/support/test_host.h"

namespace fuzz {

/// Values of a page that means harm: of any type, with members and functions that take a step of the attack when they
/// are read or called. `given` is what the plug-in gave the page itself.
class HostileValues {
 public:
  HostileValues(Input& input, support::TestHost& host, std::function<void()> step,
                std::function<support::Value()> given)
      : input(input), host(host), step(std::move(step)), given(std::move(given)) {}

  /// As the method demands it, but for some.
  support::Value Wanted(NorvoWebAPI::KSV::ArgumentKind kind) {
    if (input.OnceIn(8)) return AnyValue();
    using NorvoWebAPI::KSV::ArgumentKind;
    if (kind == ArgumentKind::Text) return input.Text();
    if (kind == ArgumentKind::Function) return PageFunction();
    if (kind == ArgumentKind::Any || kind == ArgumentKind::Unread) return AnyValue();
    return input.Number();
  }
  support::Value AnyValue() {
    const int type = input.ConsumeIntegralInRange(0, 10);
    if (type == 0) return nullptr;
    if (type == 1) return input.ConsumeBool();
    if (type == 2) return input.Number();
    if (type == 3) return input.ConsumeFloatingPoint<double>();
    if (type == 4) return input.Text();
    if (type == 5) return PageFunction();
    if (type == 6) return AnyObject();
    return type == 7 ? given() : support::Value();
  }

 private:
  support::Value PageFunction() {
    return host.NewFunction([this](const std::vector<support::Value>&, support::Value& result) {
      step();
      if (input.OnceIn(8)) return false;
      result = AnyValue();
      return true;
    });
  }
  support::Value AnyObject() {
    support::ScriptObject* const object = input.OnceIn(4) ? host.Temporary() : host.Object();
    if (++objects > 50) return static_cast<NPObject*>(object);
    for (int count = input.ConsumeIntegralInRange(0, 3); count > 0; --count) {
      const support::Key key = input.ConsumeBool() ? support::Key(input.Number()) : support::Key(input.Text());
      object->Define(key, [this] {
        step();
        return AnyValue();
      });
    }
    return static_cast<NPObject*>(object);
  }

  Input& input;
  support::TestHost& host;
  std::function<void()> step;
  std::function<support::Value()> given;
  int objects = 0;
};

}  // namespace fuzz
