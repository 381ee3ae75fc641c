#pragma once

#include <filesystem>
#include <optional>

#include "kit/shared/bytes.h"

namespace KsvKit {

/// A user's key for one library, kept in a file in the library's folder. It is read again for each use, and is in
/// memory only meanwhile.
class KeyStore {
 public:
  explicit KeyStore(std::filesystem::path file) : file_(std::move(file)) {}

  /// The key, or nothing when the user has none yet. Throws `Fault::kStore` for a file that is damaged, that other
  /// users can read, or that the system protects for another user.
  std::optional<SecretBytes> Load() const;

  /// As `Load`, also from a copy that `Export` has written.
  std::optional<SecretBytes> LoadCopy() const;

  /// Writes a copy of the key that opens on another machine too: nothing but the file's rights protects it. Throws
  /// `Fault::kStore`, also when there is such a file or no key.
  void Export(const std::filesystem::path& copy) const;

  /// The key; a random one is stored on first use. Two processes that do this at the same time get the same key. Throws
  /// `Fault::kStore`.
  SecretBytes LoadOrCreate() const;

 private:
  std::filesystem::path file_;
};

}  // namespace KsvKit
