#include <atomic>

#include "platform/internal.h"
#include "platform/testing.h"
#include "platform/testing_backend.h"

namespace platform {
namespace {

constexpr size_t kAnyCall = std::size(kCallNames);

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

thread_local int unfailing = 0;

}  // namespace

DWORD InjectedError(CallName call) {
  if (planCount.load(std::memory_order_relaxed) == 0) return ERROR_SUCCESS;
  auto& plans = Immortal<Plans>();
  const std::lock_guard lock(plans.mutex);
  for (auto& [number, plan] : plans.byNumber) {
    if (plan.call != kAnyCall && plan.call != call.index()) continue;
    if (plan.callsUntilFailure == 0 || --plan.callsUntilFailure != 0) continue;
    SetLastError(plan.error);
    return plan.error;
  }
  return ERROR_SUCCESS;
}

UnfailingMemory::UnfailingMemory() {
  ++unfailing;
}
UnfailingMemory::~UnfailingMemory() {
  --unfailing;
}
bool MemoryMayFail() {
  return unfailing == 0;
}

int AddFailure(std::string_view call, DWORD error, int nth) {
  if (error == 0 || nth < 1) throw std::invalid_argument("a failure needs an error and a call to come");
  const size_t index = call == "*" ? kAnyCall : CallName::IndexOf(call);
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
