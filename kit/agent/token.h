#pragma once

#include "kit/agent/otp.h"

namespace KsvAgent {

/// Seals an account into a token that opens only with this key and under this applet's name. README.md has the layout.
/// The counter does not change the token's length.
Bytes SealToken(const Account& account, std::string_view applet, ByteView key);

/// Opens a token. Throws kBadToken unless `SealToken` made it with the same applet and key.
Account OpenToken(ByteView token, std::string_view applet, ByteView key);

}  // namespace KsvAgent
