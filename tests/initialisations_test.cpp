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

  /// What comes of "PAGE METHOD, PAGE METHOD…". For each deed: the code of a failure, what the libraries are asked for,
  /// as in "+zub -wys" for up and down, and the two counts afterwards. A page begins where it is first named;
  /// "destroyed" and "gone" are the halves of its end.
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
        const auto answer = on->Call(deed, deed == "wysInit" ? Arguments{1, ""} : Arguments{});
        for (const char* code : {"pluginRetCode", "fnRetCode"}) {
          if (answer.Has(code) && answer.Int(code) != 0) note(std::to_string(answer.Int(code)));
        }
      }
      for (const auto& calls : {agent.TakeCalls(), display.TakeCalls()}) {
        for (const std::string& call : calls) {
          note((call.find("DeInit(") == call.npos ? "+" : "-") + std::string(call[0] == 'Z' ? "zub" : "wys"));
        }
      }
      note(std::to_string(agentInitCount.Total()) + ":" + std::to_string(displayInitCount.Total()));
    }
    return outcome;
  }

  AgentStub agent{environment};
  std::map<std::string, std::unique_ptr<Page>> pages;
};

TEST_F(InitialisationsTest, AreCountedOverAllPages) {
  const std::pair<const char*, const char*> rows[] = {
      {"a zubDeInit, a zubInit, b zubDeInit, b zubInit, a zubDeInit, b zubDeInit",
       "0:0 +zub 1:0 1:0 +zub 2:0 1:0 -zub 0:0"},
      {"a wysDeInit, a wysInit, b wysDeInit, b wysInit, a wysDeInit, b wysDeInit",
       "13 0:0 +wys 0:1 13 0:1 +wys 0:2 13 0:1 -wys 0:0"},
      // Pages that go.
      {"a zubInit, b zubInit, a gone, b destroyed, b gone", "+zub 1:0 +zub 2:0 1:0 -zub 0:0 0:0"},
      {"a zubInit, a wysInit, a gone", "+zub 1:0 +wys 1:1 -zub -wys 0:0"},
      {"a zubInit, a wysInit, a zubDeInit, a gone", "+zub 1:0 +wys 1:1 -zub 0:1 -wys 0:0"},
      {"a zubInit, a wysInit, a wysDeInit, a gone", "+zub 1:0 +wys 1:1 -wys 1:0 -zub 0:0"},
      {"a zubInit, a zubInit, a gone", "+zub 1:0 +zub 2:0 -zub 0:0"},
      // One that goes takes nothing down that others brought up.
      {"a zubInit, b zubInit, b wysInit, b wysDeInit, c wysInit, b gone, c wysDeInit, a gone",
       "+zub 1:0 +zub 2:0 +wys 2:1 -wys 2:0 +wys 2:1 1:1 -wys 1:0 -zub 0:0"},
      {"a zubInit, a zubInit, idle gone, a zubDeInit, b zubInit, a gone, b gone",
       "+zub 1:0 +zub 2:0 1:0 -zub 0:0 +zub 1:0 1:0 -zub 0:0"},
      {"a zubInit, a zubInit, idle gone, b zubInit, a gone, b gone", "+zub 1:0 +zub 2:0 1:0 +zub 2:0 1:0 -zub 0:0"},
      {"a zubInit, a zubInit, b zubInit, a gone, b zubDeInit, b gone", "+zub 1:0 +zub 2:0 +zub 3:0 2:0 1:0 -zub 0:0"},
      // An ended page has nothing left to give back, and what it initialises is undone unless others use it.
      {"a zubInit, b zubInit, a destroyed, a zubDeInit, a zubInit, a zubDeInit, a gone, c zubInit, b gone, c zubDeInit",
       "+zub 1:0 +zub 2:0 1:0 1:0 +zub 1:0 1:0 1:0 +zub 2:0 1:0 -zub 0:0"},
      {"a destroyed, a zubInit, a wysInit, a gone", "0:0 +zub -zub 0:0 +wys -wys 0:0 0:0"},
      // A page whose own were given back by others no longer uses the library.
      {"a zubInit, b zubInit, b zubInit, a zubDeInit, a zubDeInit, a zubDeInit, a zubInit, a gone, b gone",
       "+zub 1:0 +zub 2:0 +zub 3:0 2:0 1:0 -zub 0:0 +zub 1:0 -zub 0:0 0:0"},
      {"a zubInit, b zubInit, b zubDeInit, b gone, a gone", "+zub 1:0 +zub 2:0 1:0 1:0 -zub 0:0"},
      {"a zubInit, b zubInit, c zubInit, a zubDeInit, b gone, a gone, c gone",
       "+zub 1:0 +zub 2:0 +zub 3:0 2:0 1:0 1:0 -zub 0:0"},
      // An initialisation that nobody has left ends with the next page, whatever became of the flag.
      {"a wysInit, b wysInit, b wysInit, b gone, a wysDeInit, a zubInit, a gone",
       "+wys 0:1 +wys 0:2 +wys 0:3 0:2 13 0:1 +zub 1:1 -zub -wys 0:0"},
  };
  for (const auto& [deeds, outcome] : rows) {
    EXPECT_EQ(Play(deeds), outcome) << deeds;
    pages.clear();
  }
}

TEST_F(InitialisationsTest, RefusalsCountAsTheLibraryIsLeft) {
  Play("a zubInit, b wysInit");
  agent.On("ZUB_DeInit", Refuses(77));
  agent.On("ZUB_Init", Refuses(5));
  for (const char* entry : {"WYSInit", "WYSDeInit"}) display.Refuse(entry, 6);
  EXPECT_EQ(Play("a zubDeInit, b wysDeInit"), "-zub 0:1 6 -wys 0:0");
  EXPECT_EQ(Play("a zubInit, a wysInit"), "5 +zub 0:0 6 +wys 0:0");
}

TEST_F(InitialisationsTest, ObjectThatIsDeallocatedInsideTheReleaseIsStillReleasedOnce) {
  Play("b zubInit");
  agent.On("ZUB_DeInit", [&](AgentCall&) {
    EXPECT_EQ(pages["b"]->Call("zubEnumerateTokensDomainBinding").Show(), "pluginRetCode=13");
    NPWindow none{};
    EXPECT_EQ(Module().setwindow(pages["b"]->Instance(), &none), NPERR_INVALID_INSTANCE_ERROR);
    pages["b"]->End();
  });
  EXPECT_EQ(Play("b destroyed"), "-zub 0:0");
}
