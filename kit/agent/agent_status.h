#pragma once

#include "vendor/zub.h"

namespace KsvAgent {

/// What every entry point returns: the contract's statuses, without `kAgentNotCalled`, and this agent's own. The
/// numbers never change: pages compare them.
enum class Status : int32_t {
  /// Done.
  kOk = kAgentOk,
  /// An output buffer is null or too short. The required lengths have been stored; nothing else has changed, so the
  /// call can be repeated.
  kBufferTooSmall = kAgentBufferTooSmall,

  /// A null pointer, a negative length or an empty name where a value is needed.
  kInvalidArgument = 101,
  /// `ZUB_Init` has not been called, or `ZUB_DeInit` has.
  kNotInitialised = 102,
  /// The entry point belongs to the generation that is not in use.
  kWrongGeneration = 103,
  /// Neither the built-in applet nor an installed one has this name.
  kUnknownApplet = 104,
  /// No such provisioning session, or it belongs to another applet or instance.
  kUnknownSession = 105,
  /// No such instance.
  kUnknownInstance = 106,
  /// All provisioning sessions are in use, and none has been idle long enough to be dropped.
  kTooManySessions = 107,
  /// All instances are in use.
  kTooManyInstances = 108,
  /// The data would exceed the limit of a session.
  kInputTooLong = 109,
  /// There is no data, but some is required.
  kEmptyInput = 110,
  /// A data type other than 0 and 600.
  kUnknownDataType = 111,
  /// An unknown selector, or one that this kind of password does not have.
  kUnknownSelector = 112,
  /// The extra data is not what the selector requires.
  kBadExtraData = 113,

  /// The provisioning text is not a well-formed otpauth URI.
  kBadProvisioningData = 120,
  /// The provisioning text is well-formed, but has a value that this agent or the applet does not support.
  kUnsupportedParameters = 121,
  /// The token is truncated or altered, was made for another applet, or was sealed with another user's key.
  kBadToken = 122,
  /// The last counter value has been used.
  kCounterExhausted = 123,

  /// The applet file does not exist or cannot be read.
  kAppletFileUnreadable = 130,
  /// The applet file is malformed, damaged, or has another applet's name.
  kBadAppletPackage = 131,
  /// No more applets can be installed.
  kTooManyApplets = 132,
  /// No package is installed under this name.
  kAppletNotInstalled = 133,

  /// A callback is already registered under this name.
  kAlreadyRegistered = 140,
  /// No callback is registered under this name.
  kNotRegistered = 141,
  /// A callback has not returned in time. The registration is unchanged: repeat the call when the callback has
  /// returned.
  kCallbackRunning = 142,

  /// The agent's folder cannot be read or written, or other users can read its files.
  kStoreFailure = 150,
  /// Memory ran out.
  kOutOfMemory = 151,
  /// Any other error inside the agent.
  kInternalError = 152,
};

}  // namespace KsvAgent
