#pragma once

#include "kit/agent/agent_status.h"
#include "kit/shared/bytes.h"

namespace KsvAgent {

using namespace KsvKit;

/// Carries a status from where it is found to the guard of the entry points, which alone turns it into a result.
using AgentError = Failure<Status>;

}  // namespace KsvAgent
