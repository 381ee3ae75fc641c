#include "kit/nphost/memory.h"

#include <cstdlib>
#include <cstring>
#include <utility>

namespace NpHost {

Memory::Memory(Accounts kept, Report reportMisuse) : accounts(kept), report(std::move(reportMisuse)) {}

Memory::~Memory() {
  for (const auto& [block, size] : blocks) std::free(block);
}

void* Memory::Allocate(size_t size) {
  void* const block = std::malloc(size);
  if (accounts == Accounts::None || !block) return block;
  std::memset(block, kPoison, size);
  blocks[block] = size;
  return block;
}

void Memory::Free(void* block) {
  if (accounts == Accounts::None) return std::free(block);
  const auto known = blocks.find(block);
  if (known == blocks.end()) return report("Memory was freed that the host did not give, or it was freed twice.");
  std::memset(block, kPoison, known->second);
  blocks.erase(known);
  std::free(block);
}

std::vector<std::string> Memory::Leaks() const {
  std::vector<std::string> leaks;
  for (const auto& [block, size] : blocks) {
    leaks.push_back("The plug-in left " + std::to_string(size) + " bytes of host memory, which were never freed.");
  }
  return leaks;
}

}  // namespace NpHost
