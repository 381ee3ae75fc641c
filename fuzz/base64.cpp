// Base64 in both directions: what is written reads back, and no text is wrong.
#include "base/base64.h"

#include <algorithm>
#include <vector>

#include "fuzz/support/fuzzing.h"

using namespace NorvoWebAPI;
using fuzz::Demand;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text = EncodeBase64(data, size);
  Demand(!text.empty() && text.back() == '\n', "a text ends with a line feed");
  size_t line = 0;
  for (const char character : text) {
    line = character == '\n' ? 0 : line + 1;
    Demand(line <= 72, "a line has 72 characters at most");
  }
  const ByteBuffer back = DecodeBase64(text.data(), static_cast<int32_t>(text.size()));
  Demand(std::equal(data, data + size, back.bytes.get(), back.bytes.get() + back.size), "what is written reads back");

  // The same bytes as a page's text, in a block of its exact size so that a read beyond it shows.
  const std::vector<char> given(data, data + size);
  const ByteBuffer read = DecodeOptional(given.data(), static_cast<int32_t>(size));
  const auto isLetter = [](uint8_t byte) { return (byte | 32) >= 'a' && (byte | 32) <= 'z'; };
  const auto letters = static_cast<size_t>(std::count_if(data, data + size, [&](uint8_t byte) {
    return isLetter(byte) || (byte >= '0' && byte <= '9') || byte == '+' || byte == '/';
  }));
  Demand(read.size == letters * 3 / 4, "only the alphabet's characters count, and they all do");
  return 0;
}
