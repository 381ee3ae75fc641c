#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/rand.h>

#include <climits>
#include <new>

#include "base/owner.h"
#include "kit/shared/crypto.h"

namespace KsvKit {

void Wipe(void* data, size_t size) noexcept {
  OPENSSL_cleanse(data, size);
}

namespace Crypto {
namespace {

void Check(int result) {
  Require(result == 1, Fault::kCryptography);
}

int Length(ByteView bytes) {
  Require(bytes.size() <= INT_MAX, Fault::kCryptography);
  return static_cast<int>(bytes.size());
}

const EVP_MD* Algorithm(Hash hash) {
  switch (hash) {
    case Hash::kSha1:
      return EVP_sha1();
    case Hash::kSha256:
      return EVP_sha256();
    case Hash::kSha512:
      return EVP_sha512();
  }
  throw Failure(Fault::kCryptography);
}

using CipherContext = NorvoWebAPI::Owner<EVP_CIPHER_CTX*, EVP_CIPHER_CTX_free>;

CipherContext NewContext() {
  CipherContext context(EVP_CIPHER_CTX_new());
  if (!context) throw std::bad_alloc();
  return context;
}

void CheckSizes(ByteView key, ByteView nonce) {
  Require(key.size() == kKeySize && nonce.size() == kNonceSize, Fault::kCryptography);
}

}  // namespace

void FillRandom(std::span<uint8_t> out) {
  Check(RAND_bytes(out.data(), Length(out)));
}

SecretBytes Hmac(Hash hash, ByteView key, ByteView message) {
  SecretBytes result(EVP_MAX_MD_SIZE);
  unsigned int size = 0;
  Require(
      HMAC(Algorithm(hash), key.data(), Length(key), message.data(), message.size(), result.data(), &size) != nullptr,
      Fault::kCryptography);
  result.resize(size);
  return result;
}

std::array<uint8_t, 32> Sha256(ByteView message) {
  std::array<uint8_t, 32> digest;
  Check(EVP_Digest(message.data(), message.size(), digest.data(), nullptr, EVP_sha256(), nullptr));
  return digest;
}

Bytes Seal(ByteView key, ByteView nonce, ByteView associated, ByteView plain) {
  CheckSizes(key, nonce);
  const CipherContext context = NewContext();
  Bytes sealed(plain.size() + kTagSize);
  int size = 0;
  Check(EVP_EncryptInit_ex(context.Get(), EVP_aes_256_gcm(), nullptr, key.data(), nonce.data()));
  Check(EVP_EncryptUpdate(context.Get(), nullptr, &size, associated.data(), Length(associated)));
  Check(EVP_EncryptUpdate(context.Get(), sealed.data(), &size, plain.data(), Length(plain)));
  Check(EVP_EncryptFinal_ex(context.Get(), sealed.data() + plain.size(), &size));
  Check(EVP_CIPHER_CTX_ctrl(context.Get(), EVP_CTRL_GCM_GET_TAG, kTagSize, sealed.data() + plain.size()));
  return sealed;
}

std::optional<SecretBytes> Open(ByteView key, ByteView nonce, ByteView associated, ByteView sealed) {
  CheckSizes(key, nonce);
  if (sealed.size() < kTagSize) return std::nullopt;
  const ByteView cipher = sealed.first(sealed.size() - kTagSize);
  std::array<uint8_t, kTagSize> tag;
  std::copy(sealed.end() - kTagSize, sealed.end(), tag.begin());

  const CipherContext context = NewContext();
  // One byte more than needed: the library must get an address for an empty message too.
  SecretBytes plain(cipher.size() + 1);
  int size = 0;
  Check(EVP_DecryptInit_ex(context.Get(), EVP_aes_256_gcm(), nullptr, key.data(), nonce.data()));
  Check(EVP_DecryptUpdate(context.Get(), nullptr, &size, associated.data(), Length(associated)));
  Check(EVP_DecryptUpdate(context.Get(), plain.data(), &size, cipher.data(), Length(cipher)));
  Check(EVP_CIPHER_CTX_ctrl(context.Get(), EVP_CTRL_GCM_SET_TAG, kTagSize, tag.data()));
  if (EVP_DecryptFinal_ex(context.Get(), plain.data() + cipher.size(), &size) != 1) return std::nullopt;
  plain.resize(cipher.size());
  return plain;
}

}  // namespace Crypto
}  // namespace KsvKit
