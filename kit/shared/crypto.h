#pragma once

#include <array>
#include <optional>

#include "kit/shared/bytes.h"

/// The whole of the cryptography that the reference libraries need, over the system's own library: one source file each
/// for libcrypto and for CNG. Every function throws `Fault::kCryptography` when that library fails. All may be called
/// on any thread.
namespace KsvKit::Crypto {

enum class Hash : uint8_t { kSha1 = 1, kSha256 = 2, kSha512 = 3 };

constexpr size_t kKeySize = 32;
constexpr size_t kNonceSize = 12;
constexpr size_t kTagSize = 16;

/// Fills `out` from the system's generator for keys.
void FillRandom(std::span<uint8_t> out);

SecretBytes Hmac(Hash hash, ByteView key, ByteView message);

std::array<uint8_t, 32> Sha256(ByteView message);

/// AES-256-GCM. Gives the cipher text with the tag behind it. A nonce must never be used twice with one key.
Bytes Seal(ByteView key, ByteView nonce, ByteView associated, ByteView plain);

/// The reverse; nothing when the tag does not fit, which the library finds out in constant time.
std::optional<SecretBytes> Open(ByteView key, ByteView nonce, ByteView associated, ByteView sealed);

}  // namespace KsvKit::Crypto
