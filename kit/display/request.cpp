#include "kit/display/request.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "kit/display/visible_text.h"
#include "kit/shared/utf8.h"

namespace KsvDisplay {
namespace {

constexpr size_t kMaxRequest = 1024;
/// Of the characters of Base64: 16 bytes at least, so that nobody meets one twice by chance.
constexpr size_t kMinChallenge = 22;
constexpr size_t kMaxChallenge = 88;

bool IsBase64(char character) {
  return (character >= 'A' && character <= 'Z') || (character >= 'a' && character <= 'z') ||
         (character >= '0' && character <= '9') || std::string_view("+/-_=").find(character) != std::string_view::npos;
}

}  // namespace

bool IsShowable(std::string_view text, size_t most) {
  if (text.size() > most) return false;
  const std::optional<std::u32string> codePoints = CodePointsOf(text);
  return codePoints && std::ranges::all_of(*codePoints, IsVisible);
}

bool IsChallenge(std::string_view text) {
  return text.size() >= kMinChallenge && text.size() <= kMaxChallenge && std::ranges::all_of(text, IsBase64);
}

Request ReadRequest(ByteView message) {
  Require(message.size() <= kMaxRequest, Status::kBadRequest);
  const nlohmann::json json = nlohmann::json::parse(AsText(message), nullptr, false);
  Require(json.is_object(), Status::kBadRequest);
  Request request;
  for (const auto& [name, value] : json.items()) {
    // A misspelt name must not pass for a text that was left out.
    Require(value.is_string() && (name == "reference" || name == "challenge"), Status::kBadRequest);
    (name == "reference" ? request.reference : request.challenge) = value.get<std::string>();
  }
  Require(IsShowable(request.reference, kMaxReference) && (request.challenge.empty() || IsChallenge(request.challenge)),
          Status::kBadRequest);
  return request;
}

}  // namespace KsvDisplay
