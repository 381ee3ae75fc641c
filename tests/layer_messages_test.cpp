// Mutexes, calls that fail on demand, and the limit of a queue. The tests of the display ask for hooks.
#include <thread>

#include "tests/support/layer_fixture.h"

using namespace platform;

class LayerMessagesTest : public support::LayerTest {};

TEST_F(LayerMessagesTest, MutexesBelongToTheThreadThatTookThem) {
  const HANDLE mutex = CreateMutexA(nullptr, FALSE, nullptr);
  EXPECT_EQ(WaitForSingleObject(mutex, 0) + WaitForSingleObject(mutex, 0), WAIT_OBJECT_0) << "twice by its owner";
  EXPECT_TRUE(ReleaseMutex(mutex));
  std::thread([mutex] {
    EXPECT_EQ(WaitForSingleObject(mutex, 0), static_cast<DWORD>(WAIT_TIMEOUT)) << "once is not enough";
    EXPECT_FALSE(ReleaseMutex(mutex));
  }).join();
  EXPECT_TRUE(ReleaseMutex(mutex) && !ReleaseMutex(mutex));
  EXPECT_LAST_ERROR(ERROR_NOT_OWNER);
  EXPECT_TRUE(CloseHandle(mutex) && WaitForSingleObject(mutex, 0) == WAIT_FAILED);
}

TEST_F(LayerMessagesTest, ACallFailsWhenATestSaysSo) {
  if (!kHasLayerSettings) GTEST_SKIP() << "the calls are the system's own";
  constexpr UINT kMessage = WM_USER + 42;
  TestWindow window;
  const FailCall fail("PostMessageA", 5, 2);
  EXPECT_TRUE(PostMessageA(window.handle(), kMessage, 0, 0) && !fail.fired());
  EXPECT_TRUE(!PostMessageA(window.handle(), kMessage, 0, 0) && fail.fired());
  EXPECT_LAST_ERROR(5);
  for (int count = 1; count < 10'000; ++count) ASSERT_TRUE(PostMessageA(window.handle(), kMessage, 0, 0));
  EXPECT_FALSE(PostMessageA(window.handle(), kMessage, 0, 0));
  EXPECT_LAST_ERROR(ERROR_NOT_ENOUGH_QUOTA);
  EXPECT_THROW(FailCall("NoSuchCall", 5), std::invalid_argument);
}
