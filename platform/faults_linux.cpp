#include <malloc.h>
#include <sys/resource.h>

#include <atomic>
#include <csignal>
#include <map>
#include <mutex>

#include "platform/fault_source.h"
#include "platform/faults.h"
#include "platform/never_destroyed.h"

namespace platform {
namespace {

constexpr size_t kAnyCall = std::size(kCallNames);

struct Plan {
  size_t call;
  DWORD error;
  int callsUntilFailure;
};

class Faults final : public FaultSource {
 public:
  DWORD ErrorOf(CallName call) override {
    // Read on every call of the layer: without plans no lock is taken, which would hide races from the sanitizer.
    if (planCount.load(std::memory_order_relaxed) == 0) return ERROR_SUCCESS;
    const std::lock_guard lock(mutex);
    for (auto& [number, plan] : plans) {
      if (plan.call != kAnyCall && plan.call != call.index()) continue;
      if (plan.callsUntilFailure > 0 && --plan.callsUntilFailure == 0) return plan.error;
    }
    return ERROR_SUCCESS;
  }

  bool IsWow64() override { return wow64; }

  std::optional<std::string> InstallerProperty(const std::string& name) override {
    const std::lock_guard lock(mutex);
    const auto found = properties.find(name);
    return found == properties.end() ? std::nullopt : std::optional(found->second);
  }

  int Add(const Plan& plan) {
    const std::lock_guard lock(mutex);
    plans.emplace(++lastPlan, plan);
    ++planCount;
    return lastPlan;
  }

  void Remove(int plan) {
    const std::lock_guard lock(mutex);
    plans.erase(plan);
    --planCount;
  }

  bool Fired(int plan) {
    const std::lock_guard lock(mutex);
    return plans.at(plan).callsUntilFailure == 0;
  }

  void SetWow64(bool answer) { wow64 = answer; }

  void SetProperty(const std::string& name, const std::string& value) {
    const std::lock_guard lock(mutex);
    properties[name] = value;
  }

  void RemoveProperty(const std::string& name) {
    const std::lock_guard lock(mutex);
    properties.erase(name);
  }

 private:
  std::atomic<int> planCount{0};
  std::atomic<bool> wow64{false};
  std::mutex mutex;
  std::map<int, Plan> plans;
  int lastPlan = 0;
  std::map<std::string, std::string> properties;
};

// A write that would make a file longer fails; the limit above, which can't be raised again, is left alone.
void LimitFileSize(bool toNothing) {
  rlimit limit{};
  getrlimit(RLIMIT_FSIZE, &limit);
  limit.rlim_cur = toNothing ? 0 : limit.rlim_max;
  setrlimit(RLIMIT_FSIZE, &limit);
}

Faults& InstalledFaults() {
  static Faults& faults = []() -> Faults& {
    static NeverDestroyed<Faults> made;
    InstallFaultSource(*made);
    return *made;
  }();
  return faults;
}

}  // namespace

const bool kHasLayerSettings = true;

FailCall::FailCall(std::string_view call, DWORD error, int nth) {
  if (error == 0 || nth < 1) throw std::invalid_argument("a failure needs an error and a call to come");
  plan = InstalledFaults().Add({call == "*" ? kAnyCall : CallName::IndexOf(call), error, nth});
}
FailCall::~FailCall() {
  InstalledFaults().Remove(plan);
}
bool FailCall::fired() const {
  return InstalledFaults().Fired(plan);
}

FullDisk::FullDisk() {
  std::signal(SIGXFSZ, SIG_IGN);  // Else the first failing write ends the process.
  LimitFileSize(true);
}
FullDisk::~FullDisk() {
  LimitFileSize(false);
}

Wow64Answer::Wow64Answer(bool answer) {
  InstalledFaults().SetWow64(answer);
}
Wow64Answer::~Wow64Answer() {
  InstalledFaults().SetWow64(false);
}

InstallerProperty::InstallerProperty(const std::string& name, const std::string& value) : name(name) {
  InstalledFaults().SetProperty(name, value);
}
InstallerProperty::~InstallerProperty() {
  InstalledFaults().RemoveProperty(name);
}

bool MemoryMayFail() {
  return !UnfailingMemory::IsNeeded();
}

size_t BlockSize(void* block) {
  return malloc_usable_size(block);
}

}  // namespace platform
