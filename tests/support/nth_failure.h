/// One failure in the plug-in's surroundings: the n-th of its kind that the plug-in meets on this thread, and no other.
/// What the tests, the host and the stand-in libraries do for themselves never fails.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <utility>

#include "platform/faults.h"

namespace support {

enum class Source {
  None,
  Allocation,      ///< `operator new`.
  Host,            ///< A call of the host's that can fail, its memory too.
  System,          ///< A call of the platform's; where there is a layer.
  LibraryRefuses,  ///< A status of its own.
  LibraryLies,     ///< Success, with lengths and numbers that can't be.
  LibraryThrows,
  PageEnds,  ///< Inside the library, or where the host runs script.
  PageIsDestroyed,
};

struct FailurePlan {
  Source source = Source::None;
  int coming = 0;
  const std::function<void()>* end = nullptr;
  bool inPlugin = false;
};
inline constinit thread_local FailurePlan failurePlan;

/// Says whose code runs for as long as it lives; at first it is the test's.
class InPlugin {
 public:
  explicit InPlugin(bool plugin) : before(std::exchange(failurePlan.inPlugin, plugin)) {}
  InPlugin(const InPlugin&) = delete;
  InPlugin& operator=(const InPlugin&) = delete;
  ~InPlugin() { failurePlan.inPlugin = before; }

 private:
  bool before;
};

/// Asked wherever something can fail.
inline bool FailsNow(Source source) {
  return failurePlan.inPlugin && failurePlan.source == source && --failurePlan.coming == 0;
}
inline void PageMayEnd() {
  if (!FailsNow(Source::PageEnds) && !FailsNow(Source::PageIsDestroyed)) return;
  const InPlugin host(false);
  (*failurePlan.end)();
}

class NthFailure {
 public:
  /// `end` ends the page, where that is the failure.
  NthFailure(Source source, int nth, std::function<void()> endOfPage) : end(std::move(endOfPage)) {
    failurePlan = {source, nth, &end};
    if (source == Source::System) system.emplace("*", ERROR_ACCESS_DENIED, nth);
  }
  NthFailure(const NthFailure&) = delete;
  NthFailure& operator=(const NthFailure&) = delete;
  ~NthFailure() { failurePlan = {}; }

  [[nodiscard]] bool Came() const { return system ? system->fired() : failurePlan.coming <= 0; }

 private:
  std::function<void()> end;
  std::optional<platform::FailCall> system;
};

/// What `operator new` has given in this program and not got back.
struct LiveMemory {
  size_t blocks;
  size_t bytes;
};
LiveMemory CountLiveMemory();

}  // namespace support
