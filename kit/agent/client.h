#pragma once

#include <compare>
#include <cstdint>
#include <string>

namespace KsvAgent {

/// The owner of a session or a registration: an applet by its name, or one instance of it.
struct Client {
  std::string applet;
  /// 0 in the first generation, which works by name.
  uint32_t instanceId = 0;

  auto operator<=>(const Client&) const = default;
};

}  // namespace KsvAgent
