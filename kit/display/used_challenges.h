#pragma once

#include <set>
#include <string>

#include "kit/shared/system.h"

namespace KsvDisplay {

/// The file in which an opener keeps the challenges whose inputs it has opened, a line each. While this object lives,
/// no other process has the file. Members throw `Fault::kStore`.
class UsedChallenges {
 public:
  /// Creates the file's folder. Waits while another process has the file.
  explicit UsedChallenges(std::filesystem::path file);

  [[nodiscard]] bool Contains(const std::string& challenge) const { return used_.contains(challenge); }
  /// Stored when this returns: the file is replaced as a whole.
  void Add(const std::string& challenge);

 private:
  std::filesystem::path file_;
  KsvKit::System::FileLock lock_;
  std::set<std::string> used_;
};

}  // namespace KsvDisplay
