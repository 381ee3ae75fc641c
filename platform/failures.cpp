#include <atomic>

#include "platform/internal.h"
#include "platform/testing_backend.h"

namespace platform {
namespace {

struct Plan {
  size_t call;
  DWORD error;
  int callsUntilFailure;
};

struct Plans {
  std::mutex mutex;
  std::map<int, Plan> byNumber;
  int lastNumber = 0;
};

// Read on every call of the layer, so that a program without plans pays no lock.
std::atomic<int> planCount{0};

}  // namespace

DWORD InjectedError(CallName call) {
  if (planCount.load(std::memory_order_relaxed) == 0) return ERROR_SUCCESS;
  auto& plans = Immortal<Plans>();
  const std::lock_guard lock(plans.mutex);
  for (auto& [number, plan] : plans.byNumber) {
    if (plan.call != call.index() || plan.callsUntilFailure == 0 || --plan.callsUntilFailure != 0) continue;
    SetLastError(plan.error);
    return plan.error;
  }
  return ERROR_SUCCESS;
}

int AddFailure(std::string_view call, DWORD error, int nth) {
  if (error == 0 || nth < 1) throw std::invalid_argument("a failure needs an error and a call to come");
  const size_t index = CallName::IndexOf(call);
  auto& plans = Immortal<Plans>();
  const std::lock_guard lock(plans.mutex);
  plans.byNumber.emplace(++plans.lastNumber, Plan{index, error, nth});
  planCount.fetch_add(1);
  return plans.lastNumber;
}

bool FailureFired(int plan) {
  auto& plans = Immortal<Plans>();
  const std::lock_guard lock(plans.mutex);
  return plans.byNumber.at(plan).callsUntilFailure == 0;
}

void RemoveFailure(int plan) {
  auto& plans = Immortal<Plans>();
  const std::lock_guard lock(plans.mutex);
  planCount.fetch_sub(static_cast<int>(plans.byNumber.erase(plan)));
}

}  // namespace platform
