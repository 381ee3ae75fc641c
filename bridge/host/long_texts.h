/// The long texts of a message apart from its rest: the parser needs many times as long for a character as a look at it
/// takes.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Bridge {

/// Takes the long texts out of a message in JSON, and gives them back while the rest is parsed. A text stays where it
/// is if the parser has to change or to check it, or if it is the name of a member.
class LongTexts {
 public:
  /// The message need not be JSON. It must outlive this.
  explicit LongTexts(std::string_view message);

  /// The message with empty texts in the places of those taken out. It is JSON if, and only if, the message is.
  std::string_view Rest() const { return taken.empty() ? whole : std::string_view(rest); }
  /// To be called for each text that the parser meets in the rest, names of members too. Gives the text that was taken
  /// out there, if one was.
  std::optional<std::string_view> Next();

 private:
  struct Taken {
    size_t number;  // Of all the message's texts, from 0.
    std::string_view text;
  };

  const std::string_view whole;
  std::string rest;
  std::vector<Taken> taken;
  size_t met = 0;
  size_t given = 0;
};

}  // namespace Bridge
