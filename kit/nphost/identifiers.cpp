#include "kit/nphost/identifiers.h"

#include <charconv>
#include <utility>

namespace NpHost {

Identifiers::Identifiers(Accounts kept, Report reportMisuse) : accounts(kept), report(std::move(reportMisuse)) {}

NPIdentifier Identifiers::Of(Key key) {
  const auto [known, isNew] = keys.insert(std::move(key));
  const NPIdentifier identifier = const_cast<Key*>(&*known);
  if (isNew && accounts == Accounts::Kept) given.insert(identifier);
  if (const auto* const name = std::get_if<std::string>(&*known); name && isNew) nameBytes += name->size();
  return identifier;
}

NPIdentifier Identifiers::OfName(const std::string& name) {
  int32_t number = 0;
  const char* const end = name.data() + name.size();
  const auto [parsed, error] = std::from_chars(name.data(), end, number);
  const bool isNumber = error == std::errc() && parsed == end && number >= 0;
  return isNumber && std::to_string(number) == name ? Of(number) : Of(name);
}

const Key& Identifiers::KeyOf(NPIdentifier identifier) const {
  if (accounts == Accounts::None || given.contains(identifier)) return *static_cast<const Key*>(identifier);
  static const Key unknown = std::string("no identifier");
  report("An identifier was used that the host did not give.");
  return unknown;
}

}  // namespace NpHost
