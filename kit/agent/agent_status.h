#pragma once

#include "vendor/zub.h"

namespace KsvAgent {

/// What every entry point answers: the contract's statuses, without `kAgentNotCalled`, and this agent's own. A status
/// never moves: pages compare these numbers.
enum class Status : int32_t {
  /// Done.
  kOk = kAgentOk,
  /// An output buffer is absent or too short. The lengths that are needed have been stored; nothing else has changed,
  /// so the same call can be made again.
  kBufferTooSmall = kAgentBufferTooSmall,

  /// A null pointer, a negative length or an empty name where a value is needed.
  kInvalidArgument = 101,
  /// `ZUB_Init` has not been called, or `ZUB_DeInit` has.
  kNotInitialised = 102,
  /// The entry point belongs to the generation that this agent does not speak now.
  kWrongGeneration = 103,
  /// Neither the built-in applet nor an installed one bears this name.
  kUnknownApplet = 104,
  /// No such provisioning session, or it belongs to another applet or instance.
  kUnknownSession = 105,
  /// No such instance.
  kUnknownInstance = 106,
  /// All provisioning sessions are taken, and none has been idle long enough to be dropped.
  kTooManySessions = 107,
  /// All instances are taken.
  kTooManyInstances = 108,
  /// The data would exceed what a session, a token or an extra field may hold.
  kInputTooLong = 109,
  /// No data where some is needed.
  kEmptyInput = 110,
  /// A data type other than 0 and 600.
  kUnknownDataType = 111,
  /// An unknown selector, or one that the kind of password does not have.
  kUnknownSelector = 112,
  /// The extra data does not fit the selector.
  kBadExtraData = 113,

  /// The provisioning text is not a well-formed otpauth URI.
  kBadProvisioningData = 120,
  /// The provisioning text is well-formed, but asks for what this agent or the applet does not offer.
  kUnsupportedParameters = 121,
  /// The token is cut or altered, was made for another applet, or was sealed by another user's key.
  kBadToken = 122,
  /// The last counter value has been used.
  kCounterExhausted = 123,

  /// The applet file is absent or cannot be read.
  kAppletFileUnreadable = 130,
  /// The applet file is malformed, damaged, or meant for another name.
  kBadAppletPackage = 131,
  /// No more applets can be installed.
  kTooManyApplets = 132,
  /// No package is installed under this name.
  kAppletNotInstalled = 133,

  /// A callback is registered under this name already.
  kAlreadyRegistered = 140,
  /// No callback is registered under this name.
  kNotRegistered = 141,
  /// A callback has not returned in time; the registration stands as it was. Try again once the callback is done.
  kCallbackRunning = 142,

  /// The agent's folder cannot be used: unreadable, unwritable, or open to other users.
  kStoreFailure = 150,
  /// Memory ran out.
  kOutOfMemory = 151,
  /// Anything else that went wrong inside the agent.
  kInternalError = 152,
};

}  // namespace KsvAgent
