#include "kit/display/used_challenges.h"

#include <sstream>

namespace KsvDisplay {
namespace {

namespace fs = std::filesystem;
using namespace KsvKit;

constexpr size_t kMaxFile = size_t{64} * 1024 * 1024;

/// The lock has a file of its own, because the other one is replaced.
fs::path LockFile(const fs::path& file) {
  System::CreatePrivateFolder(fs::absolute(file).parent_path());
  fs::path lock = file;
  return lock += ".lock";
}

}  // namespace

UsedChallenges::UsedChallenges(fs::path file) : file_(std::move(file)), lock_(LockFile(file_)) {
  const auto content = System::ReadPrivateFile(file_, kMaxFile);
  if (!content) return;
  std::istringstream lines{std::string(AsText(*content))};
  for (std::string line; std::getline(lines, line);) used_.insert(line);
}

void UsedChallenges::Add(const std::string& challenge) {
  used_.insert(challenge);
  std::string lines;
  for (const std::string& used : used_) lines += used + '\n';
  System::WritePrivateFile(file_, AsBytes(lines), System::IfPresent::kReplace);
}

}  // namespace KsvDisplay
