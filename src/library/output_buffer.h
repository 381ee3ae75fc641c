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

/// A number at an address that a library was given: one that kept the address may still be writing there.
template <typename Count>
Count ReadOnce(const Count& number) {
  return *static_cast<const volatile Count*>(&number);
}

/// A buffer that a library fills: it is told a length as the room, and gives back in its place how much it stored, or
/// requires. `Count` is the type of that length. The bytes start as zeros: a library that claims what it never wrote
/// must not hand the page what lay there before.
template <typename Count>
class OutputBuffer {
 public:
  /// Room for `allocated` bytes, which comes from a page as a signed number; a negative one is a size that no memory
  /// can hold. Throws `std::bad_alloc`.
  OutputBuffer(int32_t allocated, Count lengthTold) : OutputBuffer(lengthTold) {
    // The system's own zeros: a large room costs no memory until it is written.
    if (allocated >= 0) bytes.reset(static_cast<uint8_t*>(std::calloc(std::max(allocated, 1), 1)));
    if (!bytes) throw std::bad_alloc();
  }
  /// No room at all.
  explicit OutputBuffer(Count lengthTold) : given(lengthTold), length(lengthTold) {}

  Count* Length() { return &length; }
  uint8_t* Bytes() { return bytes.get(); }

  /// The number of bytes that the library left to be read. Throws when it claims more than it had room for. To be asked
  /// once.
  [[nodiscard]] Count StoredLength() const {
    const Count stored = ReadOnce(length);
    if (!bytes) return 0;
    if (stored > given) throw std::runtime_error("The library claims more bytes than it was given room for");
    return stored;
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
