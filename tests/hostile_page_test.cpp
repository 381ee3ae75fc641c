// Pages that mean harm or bad luck: values without an end, an instance that ends inside its own call, a host that
// fails.
#include <algorithm>

#include "page/scriptable.h"
#include "script/np_func_bridge.h"
#include "tests/support/agent_fixture.h"

using namespace support;
using NorvoWebAPI::JSObject;
using NorvoWebAPI::NPJSConverter::NPFuncBridge;

namespace {

constexpr char kDone[] = "pluginRetCode=0 fnRetCode=0";
constexpr char kFailed[] = "pluginRetCode=13";

}  // namespace

class HostilePageTest : public AgentTest {
 protected:
  /// The answer to a call whose second argument, a number, is this value.
  std::string Send(const Value& value) { return page.Call("zubSendData", {"app", value, 2, "aGk="}).Show(); }

  /// An object of some depth, its members the same object `width` times.
  ScriptObject* Tree(int depth, int width) {
    ScriptObject* const tree = host.Object();
    for (int i = 0; i < width; ++i) {
      tree->Set(i, depth > 1 ? Value(i == 0 ? Tree(depth - 1, width) : std::get<NPObject*>(tree->members[0].second()))
                             : Value(1));
    }
    return tree;
  }

  /// As an engine that wraps a native object anew each time it is read.
  Value WrapAnew() {
    return static_cast<NPObject*>(&host.Temporary()->Define("self", [this] { return WrapAnew(); }));
  }
};

TEST_F(HostilePageTest, ValuesWithoutAnEndAreRefused) {
  ScriptObject* const itself = host.Object();
  itself->Set("self", itself);
  ScriptObject* const wrapped = host.Object();
  wrapped->Define("self", [this] { return WrapAnew(); });
  ScriptObject* const siblings = host.Object();
  for (int i = 0; i < 70; ++i) siblings->Set(i, host.Object());
  const std::tuple<const char*, Value, const char*> cases[] = {
      {"an object that names itself", itself, kFailed},
      {"an object that is wrapped anew at each read", wrapped, kFailed},
      {"64 levels", Tree(64, 1), kDone},
      {"65 levels", Tree(65, 1), kFailed},
      {"a hundred million members", Tree(5, 40), kFailed},
      {"70 objects beside one another", siblings, kDone},
      {"a key beyond 64 MiB", host.Object({{std::string((size_t{64} << 20) + 1, 'k'), 1}}), kFailed},
      {"a result of the plug-in", page.Object(), kFailed},
      {"text beyond 64 MiB", std::string((size_t{64} << 20) + 1, 'x'), kFailed},
  };
  for (const auto& [what, value, expected] : cases) EXPECT_EQ(Send(value), expected) << what;
}

TEST_F(HostilePageTest, LargeAndBrokenTextPasses) {
  const std::string large(size_t{16} << 20, 'A');
  EXPECT_EQ(page.Call("zubSendData", {"app", 7, 2, large}).Show(), kDone);
  EXPECT_EQ(agent.TakeCalls(), Calls{"ZUB_SendData('app', 7, 2, <12582912 bytes)"});
  EXPECT_EQ(page.Call("zubSendData", {std::string("app\0x", 5), 7, 2, std::string("\0\xFF\xFE", 3)}).Show(), kDone);
  EXPECT_EQ(agent.TakeCalls(), Calls{"ZUB_SendData('app', 7, 2, <'')"});
}

TEST_F(HostilePageTest, ResultsAreReadOnlyAndBounded) {
  environment.Write("KSV_tokens/https_page.example/a", "1");
  const Result result = page.Call("zubEnumerateTokensDomainBinding");
  const Result names = result.Member("tokenFileNames");
  const struct {
    const Result& object;
    Key key;
    Value value = {};
  } cases[] = {
      {names, 0, "a"},   {names, -1}, {names, "0", "a"},        {names, "length", 1},      {names, "-1"},
      {names, "100000"}, {result, 0}, {result, "fnRetCode", 0}, {names, "99999", nullptr}, {names, "length", 100'000}};
  for (const auto& [object, key, value] : cases) {
    EXPECT_EQ(object.Has(key), value != Value()) << key.index();
    EXPECT_EQ(object.Member(key).Get(), value);
  }
  EXPECT_EQ(result.Member("tokenFileNames").Int("length"), 1) << "each read gives a copy of its own";

  NPObject* const object = std::get<NPObject*>(result.Get());
  NPVariant value = host.Make(5);
  EXPECT_FALSE(object->_class->setProperty(object, host.Id("fnRetCode"), &value));
  EXPECT_TRUE(object->_class->removeProperty(object, host.Id("fnRetCode")));
  EXPECT_FALSE(object->_class->hasMethod(object, host.Id("fnRetCode")));
  EXPECT_EQ(result.Int("fnRetCode"), 0);
}

TEST_F(HostilePageTest, CallOfAPageFunctionOutlivesItsBridge) {
  const auto life = std::make_shared<NorvoWebAPI::InstanceLife>();
  std::shared_ptr<NPFuncBridge> slot;
  std::vector<Value> seen;
  const auto bridge = [&](const Function& function) {
    return std::make_shared<NPFuncBridge>(page.Instance(), &host.Funcs(), host.NewFunction(function), life);
  };
  slot = bridge([&](const std::vector<Value>& args, Value& result) {
    slot.reset();
    seen = args;
    result = host.Object({{"x", 5}});
    return true;
  });
  std::vector<JSObject> args{JSObject(7), JSObject("text"), JSObject(0.5)};
  JSObject result;
  EXPECT_TRUE(slot->Call(args, result));
  EXPECT_EQ(seen, (std::vector<Value>{7, "text", 0.5}));
  EXPECT_EQ(result["x"].ToInt(), 5);
  EXPECT_FALSE(bridge([](const auto&, Value&) { return false; })->Call(args, result));
  EXPECT_EQ(result.GetType(), JSObject::Type::Null);
  EXPECT_FALSE(bridge([this](const auto&, Value& answer) { return answer = Tree(65, 1), true; })->Call(args, result));
  EXPECT_THROW(NPFuncBridge(page.Instance(), &host.Funcs(), nullptr, life), std::bad_typeid);
  EXPECT_THROW(NPFuncBridge(page.Instance(), nullptr, host.Object(), life), std::bad_typeid);
}
