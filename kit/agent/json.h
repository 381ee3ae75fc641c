#pragma once

#include <concepts>
#include <string>
#include <string_view>
#include <vector>

namespace KsvAgent {

/// Builds the text of a flat JSON object, member after member. Texts must be plain (`IsPlainText`).
class JsonObject {
 public:
  JsonObject& Add(std::string_view name, std::string_view text);
  JsonObject& Add(std::string_view name, const char* text) { return Add(name, std::string_view(text)); }
  JsonObject& Add(std::string_view name, const std::vector<std::string>& texts);
  template <std::integral Number>
  JsonObject& Add(std::string_view name, Number value) {
    if constexpr (std::same_as<Number, bool>) return AddRaw(name, value ? "true" : "false");
    return AddRaw(name, std::to_string(value));
  }

  /// The whole object; empty of members when nothing was added.
  std::string Text() const;

 private:
  JsonObject& AddRaw(std::string_view name, std::string_view value);

  std::string members_;
};

}  // namespace KsvAgent
