// The order matters: the second header leans on the first.
// clang-format off
#include <windows.h>
#include <bcrypt.h>
// clang-format on

#include "kit/shared/crypto.h"

namespace KsvKit {

void Wipe(void* data, size_t size) noexcept {
  SecureZeroMemory(data, size);
}

namespace Crypto {
namespace {

/// The tag of a sealed message does not fit. Not in every header set of this platform.
constexpr NTSTATUS kTagMismatch = static_cast<NTSTATUS>(0xC000A002);

void Check(NTSTATUS status) {
  Require(status >= 0, Fault::kCryptography);
}

struct CloseProvider {
  void operator()(void* handle) const noexcept { BCryptCloseAlgorithmProvider(handle, 0); }
};
struct DestroyHash {
  void operator()(void* handle) const noexcept { BCryptDestroyHash(handle); }
};
struct DestroyKey {
  void operator()(void* handle) const noexcept { BCryptDestroyKey(handle); }
};
using Provider = std::unique_ptr<void, CloseProvider>;
using HashHandle = std::unique_ptr<void, DestroyHash>;
using KeyHandle = std::unique_ptr<void, DestroyKey>;

/// CNG declares its inputs as writable and leaves them alone.
PUCHAR Input(ByteView bytes) {
  return const_cast<PUCHAR>(bytes.data());
}

ULONG Length(ByteView bytes) {
  Require(bytes.size() <= 0x7FFFFFFF, Fault::kCryptography);
  return static_cast<ULONG>(bytes.size());
}

Provider OpenProvider(LPCWSTR algorithm, ULONG flags) {
  BCRYPT_ALG_HANDLE handle = nullptr;
  Check(BCryptOpenAlgorithmProvider(&handle, algorithm, nullptr, flags));
  return Provider(handle);
}

struct Algorithm {
  LPCWSTR name;
  size_t size;
};

Algorithm Find(Hash hash) {
  switch (hash) {
    case Hash::kSha1:
      return {BCRYPT_SHA1_ALGORITHM, 20};
    case Hash::kSha256:
      return {BCRYPT_SHA256_ALGORITHM, 32};
    case Hash::kSha512:
      return {BCRYPT_SHA512_ALGORITHM, 64};
  }
  throw Failure(Fault::kCryptography);
}

void Digest(const Provider& provider, ByteView key, ByteView message, std::span<uint8_t> out) {
  BCRYPT_HASH_HANDLE raw = nullptr;
  Check(BCryptCreateHash(provider.get(), &raw, nullptr, 0, Input(key), Length(key), 0));
  const HashHandle handle(raw);
  Check(BCryptHashData(raw, Input(message), Length(message), 0));
  Check(BCryptFinishHash(raw, out.data(), Length(out), 0));
}

/// The key with its provider, ready for GCM; the provider must outlive the key.
struct GcmKey {
  Provider provider;
  KeyHandle key;
};

GcmKey ImportKey(ByteView key, ByteView nonce) {
  Require(key.size() == kKeySize && nonce.size() == kNonceSize, Fault::kCryptography);
  GcmKey result{OpenProvider(BCRYPT_AES_ALGORITHM, 0), nullptr};
  const std::wstring_view mode = BCRYPT_CHAIN_MODE_GCM;
  Check(BCryptSetProperty(result.provider.get(), BCRYPT_CHAINING_MODE,
                          reinterpret_cast<PUCHAR>(const_cast<wchar_t*>(mode.data())),
                          static_cast<ULONG>((mode.size() + 1) * sizeof(wchar_t)), 0));
  BCRYPT_KEY_HANDLE raw = nullptr;
  Check(BCryptGenerateSymmetricKey(result.provider.get(), &raw, nullptr, 0, Input(key), Length(key), 0));
  result.key.reset(raw);
  return result;
}

BCRYPT_AUTHENTICATED_CIPHER_MODE_INFO ModeInfo(ByteView nonce, ByteView associated, PUCHAR tag) {
  BCRYPT_AUTHENTICATED_CIPHER_MODE_INFO info;
  BCRYPT_INIT_AUTH_MODE_INFO(info);
  info.pbNonce = Input(nonce);
  info.cbNonce = Length(nonce);
  info.pbAuthData = Input(associated);
  info.cbAuthData = Length(associated);
  info.pbTag = tag;
  info.cbTag = kTagSize;
  return info;
}

}  // namespace

void FillRandom(std::span<uint8_t> out) {
  Check(BCryptGenRandom(nullptr, out.data(), Length(out), BCRYPT_USE_SYSTEM_PREFERRED_RNG));
}

SecretBytes Hmac(Hash hash, ByteView key, ByteView message) {
  const Algorithm algorithm = Find(hash);
  SecretBytes result(algorithm.size);
  Digest(OpenProvider(algorithm.name, BCRYPT_ALG_HANDLE_HMAC_FLAG), key, message, result);
  return result;
}

std::array<uint8_t, 32> Sha256(ByteView message) {
  std::array<uint8_t, 32> digest;
  Digest(OpenProvider(BCRYPT_SHA256_ALGORITHM, 0), {}, message, digest);
  return digest;
}

Bytes Seal(ByteView key, ByteView nonce, ByteView associated, ByteView plain) {
  const GcmKey gcm = ImportKey(key, nonce);
  Bytes sealed(plain.size() + kTagSize);
  BCRYPT_AUTHENTICATED_CIPHER_MODE_INFO info = ModeInfo(nonce, associated, sealed.data() + plain.size());
  ULONG size = 0;
  Check(BCryptEncrypt(gcm.key.get(), Input(plain), Length(plain), &info, nullptr, 0, sealed.data(), Length(plain),
                      &size, 0));
  Require(size == plain.size(), Fault::kCryptography);
  return sealed;
}

std::optional<SecretBytes> Open(ByteView key, ByteView nonce, ByteView associated, ByteView sealed) {
  if (sealed.size() < kTagSize) return std::nullopt;
  const GcmKey gcm = ImportKey(key, nonce);
  const ByteView cipher = sealed.first(sealed.size() - kTagSize);
  BCRYPT_AUTHENTICATED_CIPHER_MODE_INFO info = ModeInfo(nonce, associated, Input(sealed.last(kTagSize)));
  SecretBytes plain(cipher.size());
  ULONG size = 0;
  const NTSTATUS status = BCryptDecrypt(gcm.key.get(), Input(cipher), Length(cipher), &info, nullptr, 0, plain.data(),
                                        Length(plain), &size, 0);
  if (status == kTagMismatch) return std::nullopt;
  Check(status);
  return plain;
}

}  // namespace Crypto
}  // namespace KsvKit
