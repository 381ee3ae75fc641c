#pragma once

#include <array>
#include <optional>

#include "kit/shared/bytes.h"

/// The cryptography of the reference libraries, by the system's own library: libcrypto or CNG, one source file each.
/// Every function throws `Fault::kCryptography` when that library fails. All may be called on any thread.
namespace KsvKit::Crypto {

enum class Hash : uint8_t { kSha1 = 1, kSha256 = 2, kSha512 = 3 };

constexpr size_t kKeySize = 32;
constexpr size_t kNonceSize = 12;
constexpr size_t kTagSize = 16;

/// Fills `out` from the system's cryptographic random generator.
void FillRandom(std::span<uint8_t> out);

SecretBytes Hmac(Hash hash, ByteView key, ByteView message);

std::array<uint8_t, 32> Sha256(ByteView message);

/// AES-256-GCM. Returns the cipher text followed by the tag. A nonce must never be used twice with one key.
Bytes Seal(ByteView key, ByteView nonce, ByteView associated, ByteView plain);

/// Decrypts what `Seal` returned; nothing when the tag does not match. The library compares it in constant time.
std::optional<SecretBytes> Open(ByteView key, ByteView nonce, ByteView associated, ByteView sealed);

}  // namespace KsvKit::Crypto
