#pragma once

#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

#include "kit/nphost/accounts.h"

namespace NpHost {

/// The memory that the host and the plug-in hand to each other. Blocks have their exact size, so that an address
/// sanitizer sees a read past the end.
class Memory {
 public:
  Memory(Accounts accounts, Report report);
  /// Frees the blocks that are left.
  ~Memory();
  Memory(const Memory&) = delete;
  Memory& operator=(const Memory&) = delete;

  /// Null when memory runs out.
  void* Allocate(size_t size);
  /// Reports a block that is not the host's or was freed before.
  void Free(void* block);

  /// A sentence for each block that was not freed.
  [[nodiscard]] std::vector<std::string> Leaks() const;

 private:
  const Accounts accounts;
  const Report report;
  std::unordered_map<void*, size_t> blocks;
};

}  // namespace NpHost
