#include "bridge/host/long_texts.h"

namespace Bridge {
namespace {

constexpr size_t kLong = 1024;

struct Extent {
  size_t end;    // Where the quote is that ends the text; at the message's end or behind it, when none does.
  bool isPlain;  // Each character stands for itself.
};

Extent ExtentOf(std::string_view message, size_t start) {
  bool isPlain = true;
  size_t at = start;
  for (; at < message.size() && message[at] != '"'; ++at) {
    const bool isEscape = message[at] == '\\';
    isPlain &= message[at] >= ' ' && message[at] <= '~' && !isEscape;
    at += isEscape ? 1 : 0;
  }
  return {at, isPlain};
}

bool EndsValue(std::string_view message, size_t at) {
  return at < message.size() && std::string_view(",]}").find(message[at]) != std::string_view::npos;
}

}  // namespace

LongTexts::LongTexts(std::string_view message) : whole(message) {
  if (message.size() < kLong) return;
  size_t copied = 0;
  size_t quote = message.find('"');
  for (size_t number = 0; quote != std::string_view::npos; ++number) {
    const size_t start = quote + 1;
    const auto [end, isPlain] = ExtentOf(message, start);
    if (end >= message.size()) break;
    if (isPlain && end - start >= kLong && EndsValue(message, end + 1)) {
      taken.push_back({number, message.substr(start, end - start)});
      rest += message.substr(copied, start - copied);
      copied = end;
    }
    quote = message.find('"', end + 1);
  }
  if (!taken.empty()) rest += message.substr(copied);
}

std::optional<std::string_view> LongTexts::Next() {
  const size_t number = met++;
  if (given == taken.size() || taken[given].number != number) return std::nullopt;
  return taken[given++].text;
}

}  // namespace Bridge
