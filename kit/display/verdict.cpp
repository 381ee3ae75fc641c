#include "kit/display/verdict.h"

#include <nlohmann/json.hpp>

#include "kit/display/request.h"

namespace KsvDisplay {

Verdict ReadVerdict(ByteView json) {
  constexpr size_t kLongest = 256;
  Require(json.size() <= kLongest, Status::kBadRequest);
  const auto message = nlohmann::json::parse(json.begin(), json.end(), nullptr, false);
  Require(message.is_object(), Status::kBadRequest);
  Verdict verdict;
  // The page chooses from the library's texts and adds none of its own.
  for (const auto& [name, value] : message.items()) {
    if (name == "error") {
      Require(value.is_boolean(), Status::kBadRequest);
      verdict.error = value.get<bool>();
    } else if (name == "challenge") {
      Require(value.is_string() && IsChallenge(value.get<std::string>()), Status::kBadRequest);
      verdict.challenge = value.get<std::string>();
    } else {
      Require(name == "attemptsLeft" && value.is_number_unsigned() && value <= kMostAttempts, Status::kBadRequest);
      verdict.attemptsLeft = value.get<uint32_t>();
    }
  }
  return verdict;
}

}  // namespace KsvDisplay
