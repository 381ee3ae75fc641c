#pragma once

#include <map>

#include "kit/shared/crypto.h"

namespace KsvKit {

/// A number that is no key of `taken`, so drawn that one page cannot guess what another was given. It is positive as a
/// signed number too, because pages hold it as one.
template <class Value>
uint32_t DrawHandle(const std::map<uint32_t, Value>& taken) {
  for (;;) {
    std::array<uint8_t, 4> random;
    Crypto::FillRandom(random);
    const uint32_t handle = ByteReader<Fault>(random, Fault::kCryptography).TakeNumber<uint32_t>() & 0x7FFFFFFF;
    if (handle != 0 && !taken.contains(handle)) return handle;
  }
}

}  // namespace KsvKit
