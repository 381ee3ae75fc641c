#pragma once

#include <optional>

#include "kit/agent/agent_error.h"

namespace KsvAgent {

/// Decodes Base32 of either case, with or without the padding at its end; nothing for any other character or for a
/// length that no whole bytes give. Bits left over in the last character are ignored: seeds that were drawn character
/// by character have some.
std::optional<SecretBytes> DecodeBase32(ByteView text);

}  // namespace KsvAgent
