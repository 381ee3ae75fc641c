// Pages that come and go and call every method, as often as KSV_SOAK_CALLS says: what they leave behind must not grow.
#include <cstdlib>

#include "page/init_count.h"
#include "tests/support/method_calls.h"

using namespace support;
using namespace NorvoWebAPI::KSV;

namespace {

constexpr size_t kCallsOfAPage = 900;
constexpr size_t kWarmPages = 12;  // Each kind of page, and each way to end, in both generations.

// A queue of the platform's may hold a block more or less.
constexpr size_t kJitterBlocks = 8;
constexpr size_t kJitterBytes = 4096;

size_t CallsAsked() {
  const char* const asked = std::getenv("KSV_SOAK_CALLS");
  return asked ? std::strtoul(asked, nullptr, 10) : 3 * kWarmPages * kCallsOfAPage;
}

}  // namespace

class SoakTest : public MethodCallsTest {
 protected:
  // A page that calls all methods over and over, hears of events and clicks, and ends in one way or another.
  size_t Live(size_t number) {
    SetGeneration(number % 2 == 0 ? 2 : 3);
    agentInitCount = displayInitCount = {};  // A page gives back one initialisation, however many it made.
    const platform::TestWindow own({400, 90});
    TestHost host;
    Page page(host, "https://page.example/", own.handle());
    Page neighbour(host, "https://neighbour.example/", window.handle());
    if (number % 4 < 2) Prepare(neighbour, host, "");
    std::vector<std::pair<const MethodRow*, std::vector<Value>>> methods;
    for (const MethodRow& row : kMethods) methods.emplace_back(&row, Arguments(row, host));
    Prepare(page, host, "zubUnRegisterEventCallback");
    heard = 0;
    Raise();
    size_t calls = 0;
    while (calls < kCallsOfAPage) {
      for (const auto& [row, arguments] : methods) {
        EXPECT_TRUE(page.Call(row->name, arguments).Answered()) << row->name;
        ++calls;
        if (row == &RowOf("zubRegisterEventCallback")) Raise();
      }
      ForgetCalls();
    }
    if (number % 3 == 0) page.Destroy();  // Its object lives on for a while.
    if (number % 3 == 1) page.End();
    EXPECT_GT(heard, 0U);
    return calls;
  }
};

TEST_F(SoakTest, PagesThatComeAndGoLeaveNothingBehind) {
  const size_t asked = CallsAsked();
  LiveMemory warm{};
  size_t pages = 0;
  for (size_t calls = 0; calls < asked || pages <= kWarmPages; ++pages) {
    if (pages == kWarmPages) warm = CountLiveMemory();
    calls += Live(pages);
    if (pages < kWarmPages) continue;
    const LiveMemory now = CountLiveMemory();
    ASSERT_LE(now.blocks, warm.blocks + kJitterBlocks) << "after page " << pages << " and " << calls << " calls";
    ASSERT_LE(now.bytes, warm.bytes + kJitterBytes) << "after page " << pages << " and " << calls << " calls";
  }
  RecordProperty("pages", static_cast<int>(pages));
}
