#pragma once

#include "kit/agent/agent_status.h"
#include "kit/shared/bytes.h"

namespace KsvAgent {

using namespace KsvKit;

/// Carries a status to the entry point, which returns it.
using AgentError = Failure<Status>;

}  // namespace KsvAgent
