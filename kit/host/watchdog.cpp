#include "kit/host/watchdog.h"

#include <cstdlib>

#include "kit/host/complain.h"
#include "kit/program/exit_status.h"

namespace Kit {
namespace {

constexpr std::chrono::seconds kGrace{3};

}  // namespace

Watchdog::Watchdog(std::chrono::seconds timeout)
    : watcher([this, timeout] {
        std::unique_lock lock(mutex);
        if (ended.wait_for(lock, timeout + kGrace, [this] { return done; })) return;
        Complain("The page's script or the plug-in hangs: it has not returned in time.");
        std::_Exit(kExitNoAnswer);
      }) {}

Watchdog::~Watchdog() {
  {
    const std::lock_guard lock(mutex);
    done = true;
  }
  ended.notify_all();
  watcher.join();
}

}  // namespace Kit
