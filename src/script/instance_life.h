#pragma once

#include <atomic>
#include <stdexcept>

namespace NorvoWebAPI {

/// Whether the host's instance still exists. Any host call that runs page script may end the page that asked; from then
/// on its `NPP` may be given to `NPN_CreateObject` alone, as long as the host still holds the page's object. Script
/// objects can be neither read nor called for an ended instance; all other work goes on. Shared by whoever may outlive
/// the instance; any thread may ask.
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
