/// Base64 as pages see it: RFC 4648 section 4, a line feed after every 72 characters and one at the end.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "base/byte_buffer.h"

namespace NorvoWebAPI {

/// The text of `length` bytes, its line feeds included.
std::string EncodeBase64(const uint8_t* bytes, size_t length);

/// Decodes the text. Bytes outside the alphabet are skipped, so that no text is invalid. `size` of the result is the
/// number of complete bytes. For a null or empty text it is 0, and the buffer is allocated all the same.
ByteBuffer DecodeBase64(const char* text, int32_t length);

/// The same, but no buffer at all for a null or empty text.
inline ByteBuffer DecodeOptional(const char* text, int32_t length) {
  return length >= 1 && text ? DecodeBase64(text, length) : ByteBuffer();
}

}  // namespace NorvoWebAPI
