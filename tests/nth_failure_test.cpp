// Every method of the table, and what else lets the plug-in run, with each single failure that can come in it.

#include "page/init_count.h"
#include "tests/support/method_calls.h"

using namespace support;
using namespace NorvoWebAPI::KSV;

namespace {

struct Kind {
  Source source;
  const char* name;
  bool possible = true;
};

const Kind kKinds[] = {
    {Source::Allocation, "allocation"},
    {Source::Host, "call of the host"},
    {Source::System, "call of the system", platform::kHasLayerSettings},
    {Source::LibraryRefuses, "refusal of a library"},
    {Source::LibraryLies, "lie of a library"},
    // Where each library has an unwinder of its own, nothing can be caught across them.
    {Source::LibraryThrows, "exception of a library", sizeof(void*) > 4 || platform::kHasLayerSettings},
    {Source::PageEnds, "end of the page"},
    {Source::PageIsDestroyed, "end of the page's first half"},
};

// The answer as script reads it, which may fail as well; its code is one that pages know.
std::string Read(const Result& result) {
  static_cast<void>(result.Show());
  failurePlan.source = Source::None;
  const std::string shown = result.Show();
  if (!result.Answered() || std::holds_alternative<std::monostate>(result.Get())) return shown;
  const int32_t code = result.Int("pluginRetCode");
  EXPECT_TRUE(code == kPluginOk || (code >= kNoLibrary && code <= kEventRegistrationFailed)) << code;
  return shown;
}

}  // namespace

class NthFailureTest : public MethodCallsTest {
 protected:
  // What is done on a page, and its outcome in words.
  using Deed = std::function<std::string(TestHost&, Page&)>;

  NthFailureTest() {
    // What is made once is made before any memory is counted.
    std::vector<std::string> outcomes;
    for (const uint32_t version : {2u, 3u}) {
      SetGeneration(version);
      Live(
          "zubUnRegisterEventCallback", [](TestHost&, Page&) { return ""; }, Source::None, 1, outcomes);
    }
  }

  // A page's life with one failure in it; `outcomes` are those of the deed and its repetition without any. False when
  // the failure never came.
  bool Live(std::string_view method, const Deed& deed, Source source, int nth, std::vector<std::string>& outcomes) {
    running = 0;
    heard = 0;
    agentInitCount = displayInitCount = {};  // A page gives back one initialisation, however many it made.
    TestHost host;
    Page page(host, "https://page.example/", window.handle());
    Prepare(page, host, method);
    bool came = false;
    const auto fail = [&] {
      const NthFailure failure(source, nth, [&] {
        source == Source::PageEnds ? page.End() : page.Destroy();
        ForgetCalls();
      });
      const std::string outcome = deed(host, page);
      came = failure.Came();
      return outcome;
    };
    const std::string outcome = fail();
    const bool gone = came && (source == Source::PageEnds || source == Source::PageIsDestroyed);
    if (gone && source == Source::PageEnds) {
      EXPECT_TRUE(outcome == "failed" || heard > 0) << outcome;
    }
    const std::string next = gone ? "" : deed(host, page);
    page.End();
    if (gone || !method.ends_with("Init")) {
      EXPECT_EQ(agentInitCount.Total() + displayInitCount.Total(), 0);
      if (method == "zubRegisterEventCallback") {
        EXPECT_LE(running, 0) << "nobody is left to unregister it";
      }
    }
    platform::PumpMessages();
    ForgetCalls();
    if (source == Source::None) {
      outcomes = {outcome, next};
    } else if (!came) {
      EXPECT_EQ(outcome, outcomes[0]);
    } else if (!gone) {
      // A listing that breaks off is what there is, and who tells no version is of the first generation.
      // The painting that follows an image's creation replaces its codes.
      const bool may = source == Source::LibraryLies || method.starts_with("zubEnum") || method.starts_with("zubReg") ||
                       method == "wysCreateStdImage";
      EXPECT_TRUE(may || outcome == outcomes[0] || !outcome.starts_with("pluginRetCode=0 fnRetCode=0")) << outcome;
      EXPECT_TRUE(next == outcomes[0] || next == outcomes[1]) << next << " instead of " << outcomes[0];
    }
    return came;
  }

  // The deed with each failure in turn, until one never comes.
  void Try(std::string_view what, std::string_view method, const Deed& deed) {
    std::vector<std::string> outcomes;
    Live(method, deed, Source::None, 1, outcomes);
    ASSERT_TRUE(outcomes[0].starts_with("pluginRetCode=0") || outcomes[0] == "nothing" || what == "getPlatformInfo")
        << what << ": " << outcomes[0];
    for (const Kind& kind : kKinds) {
      bool came = kind.possible;
      for (int nth = 1; came; ++nth) {
        SCOPED_TRACE(std::string(what) + " with " + kind.name + " number " + std::to_string(nth));
        const size_t before = CountLiveMemory().blocks;
        came = Live(method, deed, kind.source, nth, outcomes);
        EXPECT_EQ(CountLiveMemory().blocks, before) << "left behind";
        failures += came ? 1 : 0;
        if (HasFailure()) return;
      }
    }
  }

  int failures = 0;
};

TEST_F(NthFailureTest, EveryMethodIsAnsweredAndGoesWellAgain) {
  for (const MethodRow& row : kMethods) {
    for (const uint32_t version : {2u, 3u}) {
      if (version == 3 && std::string_view(row.name).starts_with("wys")) continue;  // They know no generations.
      SetGeneration(version);
      Try(row.name, row.name,
          [&](TestHost& host, Page& page) { return Read(page.Call(row.name, Arguments(row, host))); });
    }
  }
  RecordProperty("tried", failures);
  EXPECT_GT(failures, 3000);
}

TEST_F(NthFailureTest, PageIsMadeWholeOrNotAtAll) {
  Try("a page", "", [](TestHost& host, Page&) {
    const NPP npp = host.NewInstance();
    NPObject* object = nullptr;
    NPWindow given{};
    given.window = npp;
    {
      const InPlugin made(true);
      if (Module().newp(nullptr, npp, NP_EMBED, 0, nullptr, nullptr, nullptr) == NPERR_NO_ERROR) {
        Module().setwindow(npp, &given);
        Module().getvalue(npp, NPPVpluginScriptableNPObject, static_cast<void*>(&object));
        Module().destroy(npp, nullptr);
      }
    }
    host.EndInstance(npp, object);
    return std::string(object ? "nothing" : "failed");
  });
}

TEST_F(NthFailureTest, EventsAndClicksComeAgain) {
  if (!platform::kHasLayerSettings) GTEST_SKIP() << "the messages come when the system likes";
  for (const uint32_t version : {2u, 3u}) {
    SetGeneration(version);
    Try("messages", "zubUnRegisterEventCallback", [&](TestHost&, Page&) {
      window.ReleaseLeft(0, 0);  // Where one was lost.
      platform::PumpMessages();
      heard = 0;
      window.PressLeft(0, 0);
      window.ReleaseLeft(0, 0);
      PostMessageA(window.handle(), WM_USER + 42, 0, 0);
      const InPlugin hooks(true);
      Raise();
      return heard == 4 ? "nothing" : std::to_string(heard);
    });
  }
}
