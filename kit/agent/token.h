#pragma once

#include "kit/agent/otp.h"

namespace KsvAgent {

/// Seals an account into a token that only this key opens, and only under this applet's name. The layout stands in
/// README.md. The same account always gives a token of the same length, whatever its counter.
Bytes SealToken(const Account& account, std::string_view applet, ByteView key);

/// Opens a token. Throws kBadToken for anything that `SealToken` did not make with the same applet and key.
Account OpenToken(ByteView token, std::string_view applet, ByteView key);

}  // namespace KsvAgent
