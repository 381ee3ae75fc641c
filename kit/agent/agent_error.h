#pragma once

#include <exception>

#include "kit/agent/agent_status.h"

namespace KsvAgent {

/// Carries a status from where it is found to the guard of the entry points, which alone turns it into a result.
class AgentError : public std::exception {
 public:
  explicit AgentError(Status status) noexcept : status_(status) {}
  Status status() const noexcept { return status_; }
  const char* what() const noexcept override { return "agent status"; }

 private:
  Status status_;
};

/// Throws `status` unless `condition` holds.
inline void Require(bool condition, Status status) {
  if (!condition) throw AgentError(status);
}

}  // namespace KsvAgent
