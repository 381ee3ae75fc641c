// The order matters: the second header needs the first.
// clang-format off
#include <windows.h>
#include <bcrypt.h>
// clang-format on

#include "base/owner.h"
#include "kit/shared/crypto.h"

namespace KsvKit {

void Wipe(void* data, size_t size) noexcept {
  SecureZeroMemory(data, size);
}

namespace Crypto {
namespace {

/// STATUS_AUTH_TAG_MISMATCH, which not every header set of this platform has.
constexpr NTSTATUS kTagMismatch = static_cast<NTSTATUS>(0xC000A002);

void Check(NTSTATUS status) {
  Require(status >= 0, Fault::kCryptography);
}

void CloseProvider(BCRYPT_ALG_HANDLE provider) {
  BCryptCloseAlgorithmProvider(provider, 0);
}

using NorvoWebAPI::Owner;
using Provider = Owner<BCRYPT_ALG_HANDLE, CloseProvider>;
using HashHandle = Owner<BCRYPT_HASH_HANDLE, BCryptDestroyHash>;
using KeyHandle = Owner<BCRYPT_KEY_HANDLE, BCryptDestroyKey>;

/// CNG declares its inputs as writable, but does not write to them.
PUCHAR Input(ByteView bytes) {
  return const_cast<PUCHAR>(bytes.data());
}

ULONG Length(ByteView bytes) {
  Require(bytes.size() <= 0x7FFFFFFF, Fault::kCryptography);
  return static_cast<ULONG>(bytes.size());
}

Provider OpenProvider(LPCWSTR algorithm, ULONG flags) {
  Provider provider;
  Check(BCryptOpenAlgorithmProvider(provider.Put(), algorithm, nullptr, flags));
  return provider;
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
  HashHandle hash;
  Check(BCryptCreateHash(provider.Get(), hash.Put(), nullptr, 0, Input(key), Length(key), 0));
  Check(BCryptHashData(hash.Get(), Input(message), Length(message), 0));
  Check(BCryptFinishHash(hash.Get(), out.data(), Length(out), 0));
}

/// The key with its provider, ready for GCM; the provider must outlive the key.
struct GcmKey {
  Provider provider;
  KeyHandle key;
};

GcmKey ImportKey(ByteView key, ByteView nonce) {
  Require(key.size() == kKeySize && nonce.size() == kNonceSize, Fault::kCryptography);
  GcmKey result{OpenProvider(BCRYPT_AES_ALGORITHM, 0), {}};
  const std::wstring_view mode = BCRYPT_CHAIN_MODE_GCM;
  Check(BCryptSetProperty(result.provider.Get(), BCRYPT_CHAINING_MODE,
                          reinterpret_cast<PUCHAR>(const_cast<wchar_t*>(mode.data())),
                          static_cast<ULONG>((mode.size() + 1) * sizeof(wchar_t)), 0));
  Check(BCryptGenerateSymmetricKey(result.provider.Get(), result.key.Put(), nullptr, 0, Input(key), Length(key), 0));
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
  Check(BCryptEncrypt(gcm.key.Get(), Input(plain), Length(plain), &info, nullptr, 0, sealed.data(), Length(plain),
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
  const NTSTATUS status = BCryptDecrypt(gcm.key.Get(), Input(cipher), Length(cipher), &info, nullptr, 0, plain.data(),
                                        Length(plain), &size, 0);
  if (status == kTagMismatch) return std::nullopt;
  Check(status);
  return plain;
}

}  // namespace Crypto
}  // namespace KsvKit
