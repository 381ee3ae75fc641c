/// Base64 as pages see it: RFC 4648 section 4, a line feed after every 72 characters and one at the end.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "base/byte_buffer.h"

namespace NorvoWebAPI {

/// The text of `length` bytes, its line feeds included.
std::string EncodeBase64(const uint8_t* bytes, size_t length);

/// Decodes the text and skips every byte outside the alphabet, so no text is wrong. `size` of the result is the number
/// of whole bytes. A null or empty text gives size 0, in an allocated buffer of `length` bytes.
ByteBuffer DecodeBase64(const char* text, int32_t length);

/// The same, but no buffer at all for a null or empty text.
inline ByteBuffer DecodeOptional(const char* text, int32_t length) {
  return length >= 1 && text ? DecodeBase64(text, length) : ByteBuffer();
}

}  // namespace NorvoWebAPI
