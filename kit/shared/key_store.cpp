#include "kit/shared/key_store.h"

#include <algorithm>

#include "kit/shared/crypto.h"
#include "kit/shared/system.h"

namespace KsvKit {
namespace {

/// The digit is the version of the layout; the key follows.
constexpr std::string_view kMagic = "KSVKEY1\n";

/// What the system's protection may add.
constexpr size_t kMaxFile = 4096;

bool IsPlain(ByteView content) {
  return AsText(content).starts_with(kMagic);
}

SecretBytes KeyIn(ByteView plain) {
  ByteReader reader(plain, Fault::kStore);
  Require(AsText(reader.Read(kMagic.size())) == kMagic && reader.left() == Crypto::kKeySize, Fault::kStore);
  const ByteView key = reader.Read(Crypto::kKeySize);
  return {key.begin(), key.end()};
}

SecretBytes FileOf(ByteView key) {
  SecretBytes content(kMagic.size() + key.size());
  std::ranges::copy(key, std::ranges::copy(kMagic, content.begin()).out);
  return content;
}

}  // namespace

std::optional<SecretBytes> KeyStore::Load() const {
  const std::optional<SecretBytes> content = System::ReadPrivateFile(file_, kMaxFile);
  if (!content) return std::nullopt;
  return KeyIn(System::Unprotect(*content));
}

std::optional<SecretBytes> KeyStore::LoadCopy() const {
  const std::optional<SecretBytes> content = System::ReadPrivateFile(file_, kMaxFile);
  if (!content) return std::nullopt;
  return KeyIn(IsPlain(*content) ? *content : System::Unprotect(*content));
}

void KeyStore::Export(const std::filesystem::path& copy) const {
  const std::optional<SecretBytes> key = Load();
  Require(key && System::WritePrivateFile(copy, FileOf(*key), System::IfPresent::kKeep), Fault::kStore);
}

SecretBytes KeyStore::LoadOrCreate() const {
  std::optional<SecretBytes> key = Load();
  if (!key) {
    SecretBytes fresh(Crypto::kKeySize);
    Crypto::FillRandom(fresh);
    System::CreatePrivateFolder(file_.parent_path());
    System::WritePrivateFile(file_, System::Protect(FileOf(fresh)), System::IfPresent::kKeep);
    // Read back, because another process may have stored its key first.
    key = Load();
  }
  Require(key.has_value(), Fault::kStore);
  return std::move(*key);
}

}  // namespace KsvKit
