#pragma once

#include <cstdint>

#include "base/text.h"

namespace NorvoWebAPI::KSV {

/// What an operation works on: an applet, by its identifier (first generation), or an instance, by its id (instance
/// generation). The tags have the values of the platform's `VARIANT`.
struct AgentTarget {
  static constexpr uint16_t kName = 8;
  static constexpr uint16_t kInstance = 23;

  uint16_t tag = 0;
  Bstr name;  ///< Null stands for an empty identifier.
  uint32_t instanceId = 0;

  static AgentTarget Applet(const char* name) { return {kName, BstrFromNarrow(name), 0}; }
  static AgentTarget Instance(uint32_t id) { return {kInstance, {}, id}; }
};

}  // namespace NorvoWebAPI::KSV
