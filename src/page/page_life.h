#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "agent/instance_map.h"
#include "platform/win32.h"
#include "script/instance_life.h"

namespace NorvoWebAPI::KSV {

class Scriptable;

/// The part of a page that others refer to after the page's end. `Plugin`, `Scriptable` and the page's functions own
/// it; the window registry, the event routes and the event records hold it weakly. It may be destroyed on any thread.
struct PageLife : InstanceLife {
  /// The browser's thread, which made the page. The page's script runs there alone.
  const DWORD thread = GetCurrentThreadId();
  /// The latest one that the host gave, or null. Any thread.
  std::atomic<HWND> window = nullptr;
  /// The page's instances in the agent library. Any thread.
  InstanceMap instanceMap;

  // The browser's thread only.
  std::weak_ptr<Scriptable> scriptable;
  bool initialised = false;        ///< Set by `zubInit` or `wysInit`, cleared when this page ends a library.
  bool released = false;           ///< The page's end has given back what it had initialised.
  uint32_t agentMajorVersion = 0;  ///< One byte; 0 until the agent library has told it.
};

}  // namespace NorvoWebAPI::KSV
