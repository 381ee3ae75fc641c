#pragma once

#include <compare>
#include <cstdint>
#include <string>

namespace KsvAgent {

/// Who a session or a registration belongs to: an applet by its name, or one instance of it.
struct Owner {
  std::string applet;
  /// 0 when callers work by name.
  uint32_t instanceId = 0;

  auto operator<=>(const Owner&) const = default;
};

}  // namespace KsvAgent
