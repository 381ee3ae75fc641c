#pragma once

#include <filesystem>
#include <optional>

#include "kit/agent/bytes.h"

namespace KsvAgent {

/// The user's sealing key, one file in the agent's folder. The key is read for each use and never kept in memory.
class KeyStore {
 public:
  explicit KeyStore(const std::filesystem::path& home) : file_(home / "token.key") {}

  /// The key, or nothing when the user has none yet. Throws kStoreFailure for a file that is damaged or not the user's
  /// alone.
  std::optional<SecretBytes> Load() const;

  /// The key, drawn and stored on first use. Two processes that come here at once end up with the same key. Throws
  /// kStoreFailure.
  SecretBytes LoadOrCreate() const;

 private:
  std::filesystem::path file_;
};

}  // namespace KsvAgent
