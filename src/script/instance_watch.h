#pragma once

#include "npapi/npapi.h"

namespace NorvoWebAPI {

/// Tells a piece of work whether the host has ended an instance since the work began. Any call of the host that runs
/// page script may end the page that asked; from then on the host's instance is freed memory, and work that began
/// before must give it to no host call. Lives on the stack; the browser's thread only.
class InstanceWatch {
 public:
  explicit InstanceWatch(NPP instance);
  ~InstanceWatch();
  InstanceWatch(const InstanceWatch&) = delete;
  InstanceWatch& operator=(const InstanceWatch&) = delete;

  [[nodiscard]] bool HasEnded() const { return ended; }
  /// Throws `std::runtime_error` when the instance has ended.
  void DemandAlive() const;

  /// The host ends an instance: tells all that watch it.
  static void End(NPP instance);

 private:
  NPP npp;
  bool ended = false;
  InstanceWatch* outer;  // The watches that run, innermost first.
};

}  // namespace NorvoWebAPI
