#pragma once

#include <optional>

#include "kit/agent/agent_error.h"

namespace KsvAgent {

/// Decodes Base32 of either case, with or without padding; nothing for any other character and for a length that does
/// not make whole bytes. Spare bits of the last character are ignored: seeds made of random characters have some.
std::optional<SecretBytes> DecodeBase32(ByteView text);

}  // namespace KsvAgent
