#include "base/base64.h"

#include <algorithm>
#include <climits>
#include <new>

extern "C" {
#include <b64/cdecode.h>
#include <b64/cencode.h>
}

namespace NorvoWebAPI {

std::string EncodeBase64(const uint8_t* bytes, size_t length) {
  if (length > INT_MAX / 2 - 3) throw std::bad_alloc();
  // An upper bound, because the library writes without one: 2 × length covers the line feeds too, except for one byte,
  // whose text has 6 characters.
  std::string text(std::max<size_t>(length * 2 + 3, 6), '\0');
  base64_encodestate state;
  base64_init_encodestate(&state);
  int written =
      base64_encode_block(reinterpret_cast<const char*>(bytes), static_cast<int>(length), text.data(), &state);
  written += base64_encode_blockend(text.data() + written, &state);
  text.resize(static_cast<size_t>(written));
  return text;
}

ByteBuffer DecodeBase64(const char* text, int32_t length) {
  ByteBuffer decoded = ByteBuffer::Allocate(length);
  decoded.size = 0;
  // The library writes one byte even for no text at all.
  if (length > 0 && text) {
    base64_decodestate state;
    base64_init_decodestate(&state);
    decoded.size =
        static_cast<size_t>(base64_decode_block(text, length, reinterpret_cast<char*>(decoded.bytes.get()), &state));
  }
  return decoded;
}

}  // namespace NorvoWebAPI
