#pragma once

#include <map>

#include "kit/shared/crypto.h"

namespace KsvKit {

/// A random number that is not a key of `taken`: a page can't guess the handle of another page. It is positive as a
/// signed number too, because pages store it as one.
template <class Value>
uint32_t RandomHandle(const std::map<uint32_t, Value>& taken) {
  for (;;) {
    std::array<uint8_t, 4> random;
    Crypto::FillRandom(random);
    const uint32_t handle = ByteReader<Fault>(random, Fault::kCryptography).ReadNumber<uint32_t>() & 0x7FFFFFFF;
    if (handle != 0 && !taken.contains(handle)) return handle;
  }
}

}  // namespace KsvKit
