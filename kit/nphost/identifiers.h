#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_set>
#include <variant>

#include "kit/nphost/accounts.h"
#include "npapi/npruntime.h"

namespace NpHost {

/// A member's name or an element's number.
using Key = std::variant<std::string, int32_t>;

/// Interned keys: equal keys have equal identifiers for as long as the host lives.
class Identifiers {
 public:
  Identifiers(Accounts accounts, Report report);

  NPIdentifier Of(Key key);
  /// For a name as script writes it: "7" is the number 7.
  NPIdentifier OfName(const std::string& name);
  /// Reports an identifier that is not the host's.
  [[nodiscard]] const Key& KeyOf(NPIdentifier identifier) const;
  /// About what all keys take.
  [[nodiscard]] size_t Bytes() const { return keys.size() * kBytesOfKey + nameBytes; }

 private:
  static constexpr size_t kBytesOfKey = 100;  // With their places in the sets.

  const Accounts accounts;
  const Report report;
  std::unordered_set<Key> keys;  // Their addresses are the identifiers.
  size_t nameBytes = 0;
  std::unordered_set<NPIdentifier> given;  // The same addresses, where accounts are kept.
};

}  // namespace NpHost
