#pragma once

#include "kit/agent/otp.h"

namespace KsvAgent {

/// Reads `otpauth://totp|hotp/LABEL?secret=BASE32&issuer=&algorithm=&digits=&period=&counter=`.
///
/// `secret` is required, and `counter` for hotp; the others default to SHA1, 6 and 30. Unknown parameters are ignored,
/// repeated ones are an error. Without an `issuer` it is the part of the label before a colon. Throws
/// kBadProvisioningData for a malformed URI and kUnsupportedParameters for values out of range.
Account ParseOtpauthUri(ByteView uri);

}  // namespace KsvAgent
