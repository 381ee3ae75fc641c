#pragma once

#include <filesystem>
#include <optional>

#include "kit/shared/bytes.h"

namespace KsvKit {

/// A user's key for one library, a file in the library's folder. The key is read for each use and never kept in memory.
class KeyStore {
 public:
  explicit KeyStore(std::filesystem::path file) : file_(std::move(file)) {}

  /// The key, or nothing when the user has none yet. Throws `Fault::kStore` for a file that is damaged or not the
  /// user's alone.
  std::optional<SecretBytes> Load() const;

  /// The key, drawn and stored on first use. Two processes that come here at once end up with the same key. Throws
  /// `Fault::kStore`.
  SecretBytes LoadOrCreate() const;

 private:
  std::filesystem::path file_;
};

}  // namespace KsvKit
