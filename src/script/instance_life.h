#pragma once

#include <atomic>
#include <stdexcept>

namespace NorvoWebAPI {

/// Whether the host's instance still exists. Every host call that runs page script may end the instance. From then on
/// script objects can be neither read nor called for it; all other work goes on. Its `NPP` may only be passed to
/// `NPN_CreateObject`, while the host still has the page's object. Shared by all who may outlive the instance. Any
/// thread.
class InstanceLife {
 public:
  [[nodiscard]] bool HasEnded() const { return ended; }
  /// Throws `std::runtime_error` once the instance has ended.
  void DemandAlive() const {
    if (ended) throw std::runtime_error("The page has ended");
  }
  /// The host destroys the instance.
  void End() { ended = true; }

 private:
  std::atomic<bool> ended = false;
};

}  // namespace NorvoWebAPI
