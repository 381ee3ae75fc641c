// The account of initialisations: each library is brought up and taken down by all pages together.
#include <algorithm>
#include <sstream>

#include "tests/support/display_fixture.h"

using namespace support;
using NorvoWebAPI::KSV::agentInitCount;
using NorvoWebAPI::KSV::displayInitCount;

class InitialisationsTest : public DisplayTest {
 protected:
  InitialisationsTest() { agentInitCount = {}; }

  /// What the libraries are asked for by "PAGE METHOD, PAGE METHOD…", and every answer that is no success. A page
  /// begins where it is first named; "destroyed" and "gone" are the halves of its end.
  std::string Play(const std::string& deeds) {
    std::string outcome;
    const auto note = [&outcome](const std::string& part) { outcome += (outcome.empty() ? "" : " ") + part; };
    std::istringstream words(deeds);
    for (std::string name, deed; words >> name && std::getline(words, deed, ',');) {
      deed.erase(0, 1);
      auto& on = pages[name];
      if (!on) on = std::make_unique<Page>(host, "https://page.example/", window.handle());
      if (deed == "destroyed") {
        on->Destroy();
      } else if (deed == "gone") {
        on = nullptr;
      } else {
        const std::string answer = on->Call(deed, deed == "wysInit" ? Arguments{1, ""} : Arguments{}).Show();
        if (answer != kWentWell) note(answer);
      }
      for (const auto& calls : {agent.TakeCalls(), display.TakeCalls()}) std::ranges::for_each(calls, note);
    }
    return outcome;
  }

  AgentStub agent{environment};
  std::map<std::string, std::unique_ptr<Page>> pages;
};

TEST_F(InitialisationsTest, AreCountedOverAllPages) {
  const struct {
    const char* deeds;
    const char* outcome;
    int32_t agents, displays;  // The counts afterwards.
  } rows[] = {
      {"a zubDeInit", "", 0, 0},
      {"a zubInit", "ZUB_Init()", 1, 0},
      {"b zubDeInit", "", 1, 0},  // Not its own to give back.
      {"b zubInit", "ZUB_Init()", 2, 0},
      {"a zubDeInit", "", 1, 0},
      {"b zubDeInit", "ZUB_DeInit()", 0, 0},
      {"a wysDeInit", "pluginRetCode=13", 0, 0},
      {"a wysInit", "WYSInit(1, null)", 0, 1},
      {"b wysDeInit", "pluginRetCode=13", 0, 1},
      {"b wysInit", "WYSInit(1, null)", 0, 2},
      {"a wysDeInit", "pluginRetCode=13", 0, 1},
      {"b wysDeInit", "WYSDeInit(70)", 0, 0},
      // Pages that go.
      {"a zubInit, b zubInit, a gone", "ZUB_Init() ZUB_Init()", 1, 0},
      {"b destroyed", "ZUB_DeInit()", 0, 0},
      {"b gone", "", 0, 0},
      {"a zubInit, a wysInit, a gone", "ZUB_Init() WYSInit(1, null) ZUB_DeInit() WYSDeInit(70)", 0, 0},
      {"a zubInit, a wysInit, a zubDeInit", "ZUB_Init() WYSInit(1, null) ZUB_DeInit()", 0, 1},
      {"a gone", "WYSDeInit(70)", 0, 0},
      {"a zubInit, a wysInit, a wysDeInit", "ZUB_Init() WYSInit(1, null) WYSDeInit(70)", 1, 0},
      {"a gone", "ZUB_DeInit()", 0, 0},
      {"a zubInit, a wysInit, a wysDeInit, a zubDeInit, a gone",
       "ZUB_Init() WYSInit(1, null) WYSDeInit(70) ZUB_DeInit()", 0, 0},
      {"a zubInit, a zubInit, a gone", "ZUB_Init() ZUB_Init() ZUB_DeInit()", 0, 0},
      // One that goes takes nothing down that others brought up.
      {"a zubInit, b zubInit, b wysInit, b wysDeInit", "ZUB_Init() ZUB_Init() WYSInit(1, null) WYSDeInit(70)", 2, 0},
      {"c wysInit, b gone", "WYSInit(1, null)", 1, 1},
      {"c wysDeInit, a gone", "WYSDeInit(70) ZUB_DeInit()", 0, 0},
      {"a zubInit, a zubInit, idle gone, a zubDeInit", "ZUB_Init() ZUB_Init() ZUB_DeInit()", 0, 0},
      {"b zubInit, a gone", "ZUB_Init()", 1, 0},
      {"b gone", "ZUB_DeInit()", 0, 0},
      {"a zubInit, a zubInit, idle gone, b zubInit, a gone", "ZUB_Init() ZUB_Init() ZUB_Init()", 1, 0},
      {"b gone", "ZUB_DeInit()", 0, 0},
      {"a zubInit, a zubInit, b zubInit, a gone", "ZUB_Init() ZUB_Init() ZUB_Init()", 2, 0},
      {"b zubDeInit, b gone", "ZUB_DeInit()", 0, 0},
      // An ended page has nothing left to give back, and what it initialises is undone unless others use it.
      {"a zubInit, b zubInit, a destroyed", "ZUB_Init() ZUB_Init()", 1, 0},
      {"a zubDeInit, a zubInit, a zubDeInit, a gone", "ZUB_Init()", 1, 0},
      {"c zubInit, b gone, c zubDeInit, c gone", "ZUB_Init() ZUB_DeInit()", 0, 0},
      {"a destroyed, a zubInit, a wysInit, a gone", "ZUB_Init() ZUB_DeInit() WYSInit(1, null) WYSDeInit(70)", 0, 0},
      {"a zubInit, b zubInit, b zubInit, a zubDeInit, a zubDeInit, a zubDeInit",
       "ZUB_Init() ZUB_Init() ZUB_Init() ZUB_DeInit()", 0, 0},
      {"a zubInit, a gone", "ZUB_Init() ZUB_DeInit()", 0, 0},
      {"b gone", "", 0, 0},
      // A page whose own were given back by others no longer uses the library.
      {"a zubInit, b zubInit, b zubDeInit, b gone", "ZUB_Init() ZUB_Init()", 1, 0},
      {"a gone", "ZUB_DeInit()", 0, 0},
      {"a zubInit, b zubInit, c zubInit, a zubDeInit, b gone", "ZUB_Init() ZUB_Init() ZUB_Init()", 1, 0},
      {"a gone", "", 1, 0},
      {"c gone", "ZUB_DeInit()", 0, 0},
      // An initialisation that nobody has left ends with the next page, whatever became of the flag.
      {"a wysInit, b wysInit, b wysInit, b gone, a wysDeInit, a zubInit",
       "WYSInit(1, null) WYSInit(1, null) WYSInit(1, null) pluginRetCode=13 ZUB_Init()", 1, 1},
      {"a gone", "ZUB_DeInit() WYSDeInit(70)", 0, 0},
  };
  for (const auto& [deeds, outcome, agents, displays] : rows) {
    EXPECT_EQ(Play(deeds), outcome) << deeds;
    EXPECT_EQ(agentInitCount.Total(), agents) << deeds;
    EXPECT_EQ(displayInitCount.Total(), displays) << deeds;
  }
}

TEST_F(InitialisationsTest, RefusalsCountAsTheLibraryIsLeft) {
  Play("a zubInit, b wysInit");
  agent.On("ZUB_DeInit", Refuses(77));
  agent.On("ZUB_Init", Refuses(5));
  for (const char* entry : {"WYSInit", "WYSDeInit"}) display.Refuse(entry, 6);
  EXPECT_EQ(Play("a zubDeInit, b wysDeInit"), "ZUB_DeInit() pluginRetCode=0 fnRetCode=6 WYSDeInit(70)");
  EXPECT_EQ(agentInitCount.Total() + displayInitCount.Total(), 0);
  EXPECT_EQ(Play("a zubInit, a wysInit"),
            "pluginRetCode=0 fnRetCode=5 ZUB_Init() pluginRetCode=0 fnRetCode=6 WYSInit(1, null)");
  EXPECT_EQ(agentInitCount.Total() + displayInitCount.Total(), 0);
}

TEST_F(InitialisationsTest, ObjectThatIsDeallocatedInsideTheReleaseIsStillReleasedOnce) {
  Play("b zubInit");
  agent.On("ZUB_DeInit", [&](AgentCall&) {
    EXPECT_EQ(pages["b"]->Call("zubEnumerateTokensDomainBinding").Show(), "pluginRetCode=13");
    NPWindow none{};
    EXPECT_EQ(Module().setwindow(pages["b"]->Instance(), &none), NPERR_INVALID_INSTANCE_ERROR);
    pages["b"]->End();
  });
  EXPECT_EQ(Play("b destroyed"), "ZUB_DeInit()");
  EXPECT_EQ(agentInitCount.Total(), 0);
}
