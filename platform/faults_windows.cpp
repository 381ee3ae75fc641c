#include <malloc.h>

#include <stdexcept>

#include "platform/faults.h"

namespace platform {
namespace {

[[noreturn]] void Refuse() {
  throw std::logic_error("the system's own calls can't be made to fail");
}

}  // namespace

const bool kHasLayerSettings = false;

FailCall::FailCall(std::string_view, DWORD, int) {
  Refuse();
}
FailCall::~FailCall() = default;
bool FailCall::fired() const {
  Refuse();
}

FullDisk::FullDisk() {
  Refuse();
}
FullDisk::~FullDisk() = default;

Wow64Answer::Wow64Answer(bool) {
  Refuse();
}
Wow64Answer::~Wow64Answer() = default;

InstallerProperty::InstallerProperty(const std::string&, const std::string&) {
  Refuse();
}
InstallerProperty::~InstallerProperty() = default;

bool MemoryMayFail() {
  return true;
}

size_t BlockSize(void* block) {
  return _msize(block);
}

}  // namespace platform
