#include "platform/fault_source.h"

#include <atomic>

namespace platform {
namespace {

std::atomic<FaultSource*> installed{nullptr};

thread_local int unfailing = 0;

}  // namespace

void InstallFaultSource(FaultSource& source) {
  installed.store(&source, std::memory_order_release);
}

FaultSource* InstalledFaultSource() {
  return installed.load(std::memory_order_acquire);
}

DWORD InjectedError(CallName call) {
  FaultSource* const source = InstalledFaultSource();
  const DWORD error = source ? source->ErrorOf(call) : ERROR_SUCCESS;
  if (error) SetLastError(error);
  return error;
}

UnfailingMemory::UnfailingMemory() {
  ++unfailing;
}
UnfailingMemory::~UnfailingMemory() {
  --unfailing;
}
bool UnfailingMemory::IsNeeded() {
  return unfailing != 0;
}

}  // namespace platform
