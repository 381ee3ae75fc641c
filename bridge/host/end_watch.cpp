#include "bridge/host/end_watch.h"

#include <cstdio>

#include "bridge/host/process.h"

namespace Bridge {

EndWatch::EndWatch(std::chrono::milliseconds patience)
    : watcher([this, patience] {
        std::unique_lock lock(mutex);
        changed.wait(lock, [this] { return isEnding || hasEnded; });
        if (changed.wait_for(lock, patience, [this] { return hasEnded; })) return;
        std::fputs("ksv-bridge: The plug-in or a library hangs: it has not ended in time.\n", stderr);
        EndProcess(1);
      }) {}

EndWatch::~EndWatch() {
  Stop();
  watcher.join();
}

void EndWatch::Set(bool& flag) {
  {
    const std::lock_guard lock(mutex);
    flag = true;
  }
  changed.notify_all();
}

}  // namespace Bridge
