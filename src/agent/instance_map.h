#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>

namespace NorvoWebAPI::KSV {

/// A running binding of an applet to an id that the library gave out.
struct InstanceRecord {
  uint32_t instanceId = 0;
  bool hasEventCallback = false;  ///< Started for events, not by the first operation that needed it.
};

/// The instances of one page by applet identifier.
using InstanceMap = std::unordered_map<std::string, InstanceRecord>;

}  // namespace NorvoWebAPI::KSV
