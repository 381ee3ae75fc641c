// What holds for every method, driven by the table that makes them, and what those of the agent library have in common.
#include "tests/support/agent_fixture.h"
#include "tests/support/method_calls.h"

using namespace support;
using NorvoWebAPI::KSV::Answer;
using NorvoWebAPI::KSV::ArgumentKind;
using NorvoWebAPI::KSV::Arity;
using NorvoWebAPI::KSV::kMethods;

namespace {

// The methods that give a result and count their arguments: of the agent ("zub"), of the display ("wys"), or all ("").
std::vector<MethodRow> Rows(std::string_view start) {
  std::vector<MethodRow> rows;
  std::ranges::copy_if(kMethods, std::back_inserter(rows), [start](const MethodRow& row) {
    return std::string_view(row.name).starts_with(start) && row.arity == Arity::Exact && row.answer != Answer::None;
  });
  return rows;
}

// The `zub` methods that call no library. A new one is added here.
bool NeedsNoLibrary(std::string_view method) {
  return method == "zubDeInit" || method == "zubDeleteTokenDomainBinding";
}

// These answer by rules of their own, which are the event tests' matter.
bool IsEventMethod(std::string_view method) {
  return method.ends_with("RegisterEventCallback");
}

}  // namespace

class MethodTableTest : public AgentTest {
 protected:
  DisplayStub display{environment};
  Page page{host};
};

TEST_F(MethodTableTest, WrongCountsGiveTwelveAlone) {
  for (const MethodRow& row : Rows("")) {
    std::vector<Value> arguments = GoodArguments(row, host);
    arguments.resize(row.ArgumentCount() + 1);
    for (size_t count = 0; count <= row.ArgumentCount() + 1; ++count) {
      if (count == row.ArgumentCount()) continue;
      const std::vector<Value> given(arguments.begin(), arguments.begin() + static_cast<std::ptrdiff_t>(count));
      EXPECT_EQ(page.Call(row.name, given).Show(), "pluginRetCode=12") << row.name << " with " << count;
    }
  }
  EXPECT_EQ(agent.TakeCalls(true), Calls{});
  EXPECT_EQ(display.TakeCalls(), Calls{});
}

TEST_F(MethodTableTest, OnlyTextWillDoForText) {
  const Value wrong[] = {Value(7), Value(1.5), Value(true), Value(nullptr), Value(), Value(host.Object({{"a", 1}}))};
  for (const MethodRow& row : Rows("")) {
    if (IsEventMethod(row.name)) continue;
    for (size_t i = 0; i < row.ArgumentCount(); ++i) {
      if (row.arguments[i].kind != ArgumentKind::Text) continue;
      for (const Value& value : wrong) {
        std::vector<Value> arguments = GoodArguments(row, host);
        arguments[i] = value;
        EXPECT_EQ(page.Call(row.name, arguments).Show(), "pluginRetCode=13")
            << row.name << ", " << row.arguments[i].name << " of type " << value.index();
      }
    }
  }
  EXPECT_EQ(agent.TakeCalls(true), Calls{});
  EXPECT_EQ(display.TakeCalls(), Calls{});
}

class AgentMethodsTest : public AgentTest {};

TEST_F(AgentMethodsTest, GateComesBeforeLibraryBeforeEntry) {
  environment.SetLibraryFolder(environment.Scratch());
  Page without(host);
  AgentStub nothing(environment, "nothing");
  Page empty(host);
  const std::tuple<const Page&, std::optional<int64_t>, const char*> cases[] = {
      {without, {}, "pluginRetCode=17 fnRetCode=10"},      {without, 172'800, "pluginRetCode=17 fnRetCode=10"},
      {empty, 172'800, "pluginRetCode=17 fnRetCode=10"},   {page, 172'800, "pluginRetCode=17 fnRetCode=10"},
      {without, 172'700, "pluginRetCode=10 fnRetCode=10"}, {empty, 0, "pluginRetCode=11 fnRetCode=10"},
  };
  for (const auto& [asked, lastUpdate, expected] : cases) {
    environment.SetLastUpdate(lastUpdate);
    for (const MethodRow& row : Rows("zub")) {
      if (NeedsNoLibrary(row.name) || IsEventMethod(row.name)) continue;
      EXPECT_EQ(asked.Call(row.name, GoodArguments(row, host)).Show(), expected) << row.name;
    }
    EXPECT_EQ(asked.Call("zubEnumerateTokensDomainBinding").Show(), "pluginRetCode=0 fnRetCode=0 tokenFileNames=[]");
  }
  EXPECT_EQ(agent.TakeCalls(true), Calls{});
}

TEST_F(AgentMethodsTest, LogTellsNameAndCodesOnlyWhenItIsOn) {
  const std::string head = "[" + std::to_string(static_cast<int32_t>(GetCurrentThreadId())) + "] ";
  std::string expected;
  for (const char* line :
       {"[pZUB] Init\n", "[pZUB] Running Norvo KSV Plugin version: : 5.0.5\n", "[pZUB] Init:0, 0\n",
        "[pPlugin-refcount] Init-1\n", "[pZUB] GetVersion\n", "[pZUB] GetVersion:0, 0\n", "[pZUB] Deinit\n",
        "[pZUB] Deinit:0, 5\n", "[pPlugin-refcount] DeInit-0\n", "[pPlugin] Destructor-"}) {
    expected += head + line;
  }
  agent.On("ZUB_DeInit", Refuses(5));
  platform::DebugOutputCapture output;
  for (const uint32_t level : {0u, 0xFFFFFFFFu, 1u}) {
    environment.SetLogLevel(level);
    const size_t before = output.lines().size();
    {
      Page logged(host);
      logged.Call("zubInit");
      logged.Call("zubDeInit");
    }
    std::string written;
    const Calls lines = output.lines();
    for (size_t i = before; i < lines.size(); ++i) {
      if (lines[i].find("[pZUB:EventTemplate]") == std::string::npos) written += lines[i];  // That has no switch.
    }
    EXPECT_EQ(written.substr(0, expected.size()), level == 1 ? expected : "") << level;
  }
}
