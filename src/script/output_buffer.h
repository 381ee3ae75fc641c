#pragma once

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "foundation/base64.h"
#include "foundation/byte_buffer.h"
#include "script/js_object.h"

namespace NorvoWebAPI {

/// A buffer that a library fills: it is told a length as the room, and gives back in its place how much it stored, or
/// requires. `Count` is the type of that length.
template <typename Count>
class OutputBuffer {
 public:
  OutputBuffer(ByteBuffer roomGiven, Count lengthTold)
      : buffer(std::move(roomGiven)), given(lengthTold), length(lengthTold) {
    // A library that claims what it never wrote must not hand the page what lay there before.
    if (buffer.bytes) std::fill_n(buffer.bytes.get(), given, uint8_t{0});
  }

  Count* Length() { return &length; }
  uint8_t* Bytes() { return buffer.bytes.get(); }

  /// The number of bytes that the library left to be read. Throws when it claims more than it had room for.
  [[nodiscard]] Count StoredLength() const {
    if (!buffer.bytes) return 0;
    if (length > given) throw std::runtime_error("The library claims more bytes than it was given room for");
    return length;
  }

  /// Stores the library's bytes as Base64, if there are any. True when it did.
  bool StoreData(JSObject& result, const char* key) const {
    if (StoredLength() == 0) return false;
    result[key] = JSObject(EncodeBase64(buffer.bytes.get(), length));
    return true;
  }

 private:
  ByteBuffer buffer;
  Count given;

 protected:
  Count length;
};

}  // namespace NorvoWebAPI
