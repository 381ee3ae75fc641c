#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>
#include <stdexcept>

#include "base/base64.h"
#include "script/js_object.h"

namespace NorvoWebAPI {

/// A buffer that a library fills. A length of type `Count` goes in as the capacity and comes back as the number of
/// bytes that the library stored or requires. The bytes start as zeros, so that a library which claims more than it
/// wrote does not pass old memory to the page.
template <typename Count>
class OutputBuffer {
 public:
  /// Allocates `allocated` bytes and tells the library `lengthTold`. The size comes from a page as a signed number: a
  /// negative one throws `std::bad_alloc`, as a size that can't be allocated does.
  OutputBuffer(int32_t allocated, Count lengthTold) : OutputBuffer(lengthTold) {
    // calloc takes zeroed pages from the system: a large capacity costs no memory until it is written.
    if (allocated >= 0) bytes.reset(static_cast<uint8_t*>(std::calloc(std::max(allocated, 1), 1)));
    if (!bytes) throw std::bad_alloc();
  }
  /// Without a buffer.
  explicit OutputBuffer(Count lengthTold) : given(lengthTold), length(lengthTold) {}

  Count* Length() { return &length; }
  uint8_t* Bytes() { return bytes.get(); }

  /// The number of bytes that the library stored. Throws when it claims more than it had room for.
  [[nodiscard]] Count StoredLength() const {
    if (!bytes) return 0;
    if (length > given) throw std::runtime_error("The library claims more bytes than it was given room for");
    return length;
  }

  /// Stores the library's bytes as Base64, if there are any, and gives their number.
  Count StoreData(JSObject& result, const char* key) const {
    const Count stored = StoredLength();
    if (stored > 0) result[key] = JSObject(EncodeBase64(bytes.get(), stored));
    return stored;
  }

 private:
  struct Free {
    void operator()(uint8_t* memory) const { std::free(memory); }
  };

  std::unique_ptr<uint8_t, Free> bytes;
  Count given;

 protected:
  Count length;
};

}  // namespace NorvoWebAPI
