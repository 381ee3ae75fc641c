#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <functional>
#include <future>
#include <mutex>
#include <thread>
#include <tuple>

#include "tests/support/reference_display_fixture.h"

namespace {

using KsvDisplay::Status;
using support::Code;
using support::FrameBytes;
using support::ImageRequest;

// What the callback saw, on whatever thread; it has no other way to find its test.
struct Recorder {
  std::mutex mutex;
  std::condition_variable added;
  std::vector<DisplayEventRecord> records;
  std::thread::id thread;
  std::function<void()> inside = [] {};
}* recorder = nullptr;

// Records last: a test that has seen the record may replace `inside`.
uint32_t Record(DisplayEventRecord* record) {
  recorder->inside();
  const std::scoped_lock lock(recorder->mutex);
  recorder->records.push_back(*record);
  recorder->thread = std::this_thread::get_id();
  recorder->added.notify_all();
  return 1;
}

class ReferenceDisplayEvents : public support::ReferenceDisplayTest {
 protected:
  ReferenceDisplayEvents() { recorder = &events_; }
  // A callback that still runs uses what the test recorded.
  ~ReferenceDisplayEvents() override { wys_.DeInit(context_); }
  int32_t Register(uint32_t mask) {
    return wys_.RegisterEvents(session_, &mask, Record, reinterpret_cast<void*>(uintptr_t{0x1234}));
  }
  int32_t Withdraw() { return wys_.RegisterEvents(session_, nullptr, nullptr, nullptr); }
  // The events up to one with `last` among its bits.
  std::vector<DisplayEventRecord> AwaitUpTo(uint32_t last) {
    std::unique_lock lock(events_.mutex);
    const auto isThere = [&] { return !events_.records.empty() && (events_.records.back().eventBits & last) != 0; };
    EXPECT_TRUE(events_.added.wait_for(lock, std::chrono::seconds(20), isThere));
    return std::exchange(events_.records, {});
  }
  Recorder events_;
};

TEST_F(ReferenceDisplayEvents, TellOfChangesOnAThreadOfTheirOwn) {
  EXPECT_EQ(Withdraw(), Code(Status::kNotRegistered));
  ASSERT_EQ(Register(2), 0);
  ASSERT_EQ(Create(ImageRequest{.type = 2, .least = 0, .greatest = 0}), 0);
  EXPECT_EQ(AwaitUpTo(2).size(), 1U);
  EXPECT_NE(events_.thread, std::this_thread::get_id());
  Tap("OK");
  const auto told = AwaitUpTo(4);
  const auto& [bits, ids, status, context] = told.back();
  EXPECT_EQ(std::tuple(told.size(), told.front().eventBits), std::tuple(2U, 2U));
  EXPECT_EQ(std::tuple(bits, ids[0], ids[1], status, context), std::tuple(6U, session_, 77U, 36U, 0x1234U));
  Tap("Cancel");
  EXPECT_EQ(AwaitUpTo(16).back().eventBits, 18U);
}

TEST_F(ReferenceDisplayEvents, NoneComesAfterTheirEnd) {
  // Events come in order, so one of another page tells that none of this one is on its way.
  const platform::TestWindow otherWindow;
  uint32_t first = session_;
  const uint32_t firstContext = context_;
  ASSERT_EQ(wys_.Init(0, "", &context_), 0);
  ASSERT_EQ(Establish(otherWindow), 0);
  ASSERT_EQ(Register(8), 0);
  const uint32_t other = session_;
  const uint32_t otherContext = std::exchange(context_, firstContext);
  const std::function<int32_t()> ends[] = {[this] { return Withdraw(); },
                                           [this] { return wys_.CloseSession(session_); },
                                           [this] { return wys_.DeInit(context_); }};
  for (const auto& end : ends) {
    SCOPED_TRACE(&end - ends);
    session_ = first;
    // The callback is held inside, while events pile up behind it and the end is asked for.
    std::promise<void> entered, leave;
    std::atomic<int> calls = 0;
    events_.inside = [&] {
      if (calls++ > 0) return;
      entered.set_value();
      leave.get_future().wait();
    };
    ASSERT_EQ(Register(2), 0);
    ASSERT_EQ(Create(ImageRequest{}), 0);
    entered.get_future().wait();
    for (int i = 0; i < 300; ++i) wys_.ClearInput(session_, 0);
    auto ending = std::async(std::launch::async, end);
    leave.set_value();
    ASSERT_EQ(ending.get(), 0);
    const int seen = calls;
    wys_.ClearInput(first, 0);
    session_ = other;
    ASSERT_EQ(Frame(FrameBytes(2, 2)), 0);
    AwaitUpTo(8);
    EXPECT_LE(calls, seen + 1) << "of the other page";
    ASSERT_EQ(wys_.Init(0, nullptr, &context_), 0);
    Establish();
    first = session_;
  }
  events_.inside = [] {};
  EXPECT_EQ(wys_.DeInit(otherContext), 0);
}

TEST_F(ReferenceDisplayEvents, CallbackMayCallButEndsNeitherItselfNorPartOfItsContext) {
  // Sessions are gone through by their ids, which are drawn: the other comes before the one that calls.
  const platform::TestWindow otherWindow;
  std::vector<uint32_t> sessions{session_};
  ASSERT_EQ(Establish(otherWindow), 0);
  sessions.push_back(session_);
  std::ranges::sort(sessions);
  for (const uint32_t session : sessions) {
    session_ = session;
    ASSERT_EQ(Register(8), 0);
  }
  std::promise<std::vector<int32_t>> statuses;
  events_.inside = [&, done = false]() mutable {
    if (std::exchange(done, true)) return;
    statuses.set_value(
        {wys_.RepaintImage(session_, 0), Withdraw(), wys_.CloseSession(session_), wys_.DeInit(context_), Register(8)});
  };
  ASSERT_EQ(Frame(FrameBytes(2, 2)), 0);
  const int32_t running = Code(Status::kCallbackRunning);
  EXPECT_EQ(statuses.get_future().get(), (std::vector<int32_t>{0, running, running, running, running}));
  AwaitUpTo(8);
  session_ = sessions.front();
  ASSERT_EQ(Frame(FrameBytes(2, 2)), 0);
  AwaitUpTo(8);
}

// A page that makes and removes many objects leaves as many contexts, sessions and registrations.
TEST_F(ReferenceDisplayEvents, WhatHostsForgetDoesNotUseAllUp) {
  const uint32_t shown = session_;
  ASSERT_EQ(Create(ImageRequest{}), 0);
  const platform::TestWindow busyWindow;
  ASSERT_EQ(Establish(busyWindow), 0);
  const uint32_t busy = session_;
  std::promise<void> entered, leave;
  events_.inside = [&] {
    entered.set_value();
    leave.get_future().wait();
  };
  ASSERT_EQ(Register(8), 0);
  ASSERT_EQ(Frame(FrameBytes(2, 2)), 0);
  entered.get_future().wait();
  ASSERT_EQ(wys_.ReleaseImage(busy, 0), 0);

  const platform::TestWindow windows[70];
  std::vector<uint32_t> contexts{context_};
  for (const auto& window : windows) {
    ASSERT_EQ(wys_.Init(0, "", &context_), 0);
    ASSERT_EQ(Establish(window), 0);
    ASSERT_EQ(Register(2), 0);
    contexts.push_back(context_);
  }
  EXPECT_EQ(wys_.RepaintImage(shown, 0), 0);
  EXPECT_EQ(wys_.RepaintImage(busy, 0), Code(Status::kUnknownImage));
  leave.set_value();
  for (const uint32_t context : contexts) wys_.DeInit(context);
}

}  // namespace
