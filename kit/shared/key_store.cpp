#include "kit/shared/key_store.h"

#include <algorithm>

#include "kit/shared/crypto.h"
#include "kit/shared/system.h"

namespace KsvKit {
namespace {

/// The digit is the version of the layout; the key follows.
constexpr std::string_view kMagic = "KSVKEY1\n";

}  // namespace

std::optional<SecretBytes> KeyStore::Load() const {
  const std::optional<SecretBytes> content = System::ReadPrivateFile(file_, kMagic.size() + Crypto::kKeySize);
  if (!content) return std::nullopt;
  ByteReader reader(*content, Fault::kStore);
  const ByteView magic = reader.Read(kMagic.size());
  const ByteView key = reader.Read(Crypto::kKeySize);
  Require(AsText(magic) == kMagic, Fault::kStore);
  return SecretBytes(key.begin(), key.end());
}

SecretBytes KeyStore::LoadOrCreate() const {
  std::optional<SecretBytes> key = Load();
  if (!key) {
    SecretBytes content(kMagic.size() + Crypto::kKeySize);
    std::copy(kMagic.begin(), kMagic.end(), content.begin());
    Crypto::FillRandom(std::span(content).subspan(kMagic.size()));
    System::CreatePrivateFolder(file_.parent_path());
    System::WritePrivateFile(file_, content, System::IfPresent::kKeep);
    // Read back, because another process may have stored its key first.
    key = Load();
  }
  Require(key.has_value(), Fault::kStore);
  return std::move(*key);
}

}  // namespace KsvKit
