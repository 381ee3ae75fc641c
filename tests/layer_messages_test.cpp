// Windows, their messages and hooks, mutexes, and calls that fail on demand.
#include <algorithm>
#include <thread>

#include "tests/support/layer_fixture.h"

using namespace platform;

namespace {

constexpr UINT kMessage = WM_USER + 42;

std::string trace;  // What the hooks below saw, a letter a call.
HHOOK hooks[3];
bool unhookInside, swallow;

template <char kLetter>
LRESULT CALLBACK Take(int code, WPARAM wParam, LPARAM lParam) {
  if (reinterpret_cast<MSG*>(lParam)->message != kMessage) return CallNextHookEx(nullptr, code, wParam, lParam);
  trace += kLetter;
  if (unhookInside && UnhookWindowsHookEx(hooks[1])) {
    hooks[1] = SetWindowsHookExA(WH_GETMESSAGE, Take<'n'>, GetModuleHandleA(nullptr), 0);
    unhookInside = false;
  }
  return swallow ? 0 : CallNextHookEx(nullptr, code, wParam, lParam);
}

LRESULT CALLBACK Sent(int code, WPARAM wParam, LPARAM lParam) {
  if (reinterpret_cast<CWPSTRUCT*>(lParam)->message == kMessage) trace += 's';
  if (kHasLayerSettings && trace.find('s') == std::string::npos) trace += '?';
  return CallNextHookEx(nullptr, code, wParam, lParam);
}

LRESULT CALLBACK Swallow(int /*code*/, WPARAM /*wParam*/, LPARAM /*lParam*/) {
  return 1;
}

}  // namespace

class LayerMessagesTest : public support::LayerTest {};

TEST_F(LayerMessagesTest, MutexesBelongToTheThreadThatTookThem) {
  const HANDLE mutex = CreateMutexA(nullptr, FALSE, nullptr);
  EXPECT_EQ(WaitForSingleObject(mutex, 0) + WaitForSingleObject(mutex, 0), WAIT_OBJECT_0) << "twice by its owner";
  EXPECT_TRUE(ReleaseMutex(mutex));
  std::thread([mutex] {
    EXPECT_EQ(WaitForSingleObject(mutex, 0), static_cast<DWORD>(WAIT_TIMEOUT)) << "once is not enough";
    EXPECT_FALSE(ReleaseMutex(mutex));
  }).join();
  EXPECT_TRUE(ReleaseMutex(mutex));
  std::thread([mutex] {
    EXPECT_EQ(WaitForSingleObject(mutex, INFINITE) + !ReleaseMutex(mutex), WAIT_OBJECT_0);
  }).join();
  EXPECT_FALSE(ReleaseMutex(mutex));
  EXPECT_LAST_ERROR(ERROR_NOT_OWNER);
  EXPECT_TRUE(CloseHandle(mutex) && WaitForSingleObject(mutex, 0) == WAIT_FAILED);
}

TEST_F(LayerMessagesTest, HooksRunNewestFirstOnTheTakingThread) {
  hooks[0] = SetWindowsHookExA(WH_GETMESSAGE, Take<'o'>, GetModuleHandleA(nullptr), 0);
  hooks[1] = SetWindowsHookExA(WH_GETMESSAGE, Take<'n'>, GetModuleHandleA(nullptr), 0);
  hooks[2] = SetWindowsHookExA(WH_CALLWNDPROC, Sent, nullptr, GetCurrentThreadId());
  TestWindow window;
  const auto traceOfPost = [&window](bool unhook, bool stop) {
    trace.clear();
    unhookInside = unhook;
    swallow = stop;
    std::thread([&] { EXPECT_TRUE(PostMessageA(window.handle(), kMessage, 0, 0)); }).join();
    PumpMessages();
    return trace;
  };
  EXPECT_EQ(traceOfPost(false, false), "no");
  EXPECT_EQ(traceOfPost(false, true), "n");
  EXPECT_EQ(traceOfPost(true, false), "no") << "a hook that takes itself away passes on all the same";
  SendMessageA(window.handle(), kMessage, 0, 0);
  EXPECT_EQ(trace, "nos");
  for (const HHOOK hook : hooks) EXPECT_TRUE(UnhookWindowsHookEx(hook));
  const HHOOK mouse = SetWindowsHookExA(WH_MOUSE, Swallow, GetModuleHandleA(nullptr), 0);
  window.PressLeft(1, 1);
  PumpMessages();
  EXPECT_TRUE(!window.HasReceived(WM_LBUTTONDOWN) && UnhookWindowsHookEx(mouse)) << "only a click can be kept from it";
  // A system keeps a hook for all threads as long as another process is just in it, and can be asked twice.
  if (kHasLayerSettings) {
    EXPECT_FALSE(UnhookWindowsHookEx(hooks[0]));
  }
  EXPECT_EQ(traceOfPost(false, false), "");
  EXPECT_EQ(std::ranges::count(window.received(), kMessage), 5) << "no such hook keeps a message from its window";
}

TEST_F(LayerMessagesTest, ACallFailsWhenATestSaysSo) {
  if (!kHasLayerSettings) GTEST_SKIP() << "the calls are the system's own";
  TestWindow window;
  const FailCall fail("PostMessageA", 5, 2);
  EXPECT_TRUE(PostMessageA(window.handle(), kMessage, 0, 0) && !fail.fired());
  EXPECT_TRUE(!PostMessageA(window.handle(), kMessage, 0, 0) && fail.fired());
  EXPECT_LAST_ERROR(5);
  for (int count = 1; count < 10'000; ++count) ASSERT_TRUE(PostMessageA(window.handle(), kMessage, 0, 0));
  EXPECT_FALSE(PostMessageA(window.handle(), kMessage, 0, 0));
  EXPECT_LAST_ERROR(ERROR_NOT_ENOUGH_QUOTA);
  window.Destroy();
  MSG message;
  EXPECT_FALSE(PeekMessageA(&message, nullptr, kMessage, kMessage, PM_REMOVE)) << "what is queued goes with its window";
  EXPECT_THROW(FailCall("NoSuchCall", 5), std::invalid_argument);
}
