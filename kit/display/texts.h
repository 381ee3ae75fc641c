#pragma once

#include <cstdint>
#include <string>

namespace KsvDisplay {

enum class Language : uint8_t { kEnglish, kGerman };

/// All that the library itself says in an image. `#` in a text stands for a number.
enum class Phrase : uint8_t {
  kEnterPin,
  kPleaseConfirm,
  kTypeInPage,
  kThankYou,
  kTaken,
  kCancelled,
  kDiscarded,
  kWrongPin,
  kNotAccepted,
  kNoAttempts,
  kOneAttempt,
  kAttempts,
  kOneMissing,
  kMissing,
  kOneDigit,
  kDigits,
  kDigitRange,
  kClear,
  kCancel,
  kOk,
  kConfirm,
};

/// The phrase with its numbers filled in, UTF-8.
std::string Say(Language language, Phrase phrase, uint32_t first = 0, uint32_t second = 0);

}  // namespace KsvDisplay
