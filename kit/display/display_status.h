#pragma once

#include <string_view>

#include "kit/shared/bytes.h"
#include "vendor/ksvwys.h"

namespace KsvDisplay {

using namespace KsvKit;

/// What every entry point returns: the contract's statuses, without `kDisplayNotCalled`, and this display's own;
/// `TextOf` has the meanings. The numbers never change: pages compare them.
enum class Status : int32_t {
  kOk = kDisplayOk,
  kBufferTooSmall = 11,
  /// In event records only.
  kInputComplete = 36,
  kSessionStands = ::kSessionStands,

  kInvalidArgument = 201,
  kUnknownContext = 202,
  kUnknownSession = 203,
  kUnknownImage = 204,
  kTooManyContexts = 205,
  kTooManySessions = 206,

  kBadDescriptor = 210,
  kUnknownInputType = 211,
  kBadImageSize = 212,
  kBadLogo = 213,
  kBadLimits = 214,
  kUnknownOption = 215,

  kInputIncomplete = 220,
  kInputClosed = 221,
  kBadText = 222,
  kWrongInputType = 223,
  kNoUserInput = 224,
  kImageNotVisible = 225,
  kInputCancelled = 226,

  kBadFrame = 230,
  kFrameNotAuthentic = 231,
  kBadSetupMessage = 232,
  kUnknownMessageType = 233,
  kBadRequest = 234,

  kNotRegistered = 240,
  kCallbackRunning = 241,

  kWindowGone = 250,
  kPaintingFailed = 251,
  kNoFont = 252,
  kStoreFailure = 253,
  kOutOfMemory = 254,
  kInternalError = 255,
  kUnknownStatus = 260,
};

/// Carries a status to the entry point, which returns it.
using DisplayError = Failure<Status>;

/// A sentence for users, in ASCII and shorter than 128 characters; empty for a number that is no status.
std::string_view TextOf(uint32_t status);

}  // namespace KsvDisplay
