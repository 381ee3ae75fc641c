#pragma once

#include <cstddef>
#include <cstdint>

#include "base/byte_buffer.h"

namespace NorvoWebAPI::KSV {

/// A field of the header: offset and size in bytes.
struct DescriptorField {
  size_t offset;
  size_t size;
};

/// The header: packed, little-endian, 0 wherever no field is named. The library reads all of it and writes the three
/// fields that are marked.
namespace DescriptorLayout {
inline constexpr DescriptorField kInputType{1, 1};
inline constexpr DescriptorField kImageId{6, 4};       // Written.
inline constexpr DescriptorField kImageWidth{10, 2};   // Written.
inline constexpr DescriptorField kImageHeight{12, 2};  // Written.
inline constexpr DescriptorField kPointBX{15, 2};
inline constexpr DescriptorField kPointBY{17, 2};
inline constexpr DescriptorField kByteE{21, 1};
inline constexpr DescriptorField kValueA{22, 4};
inline constexpr DescriptorField kValueC{34, 4};
inline constexpr DescriptorField kValueD{42, 4};
inline constexpr DescriptorField kLogoWidth{46, 2};
inline constexpr DescriptorField kLogoHeight{48, 2};
inline constexpr size_t kHeaderSize = 50;  // The logo follows, three bytes a pixel.
}  // namespace DescriptorLayout

/// The description of an image for the library: the header, then the logo's pixels.
class ImageDescriptor {
 public:
  /// A header of zeros, and the logo's bytes behind it. Throws `std::bad_alloc`.
  explicit ImageDescriptor(const ByteBuffer& logo);

  /// Stores as many low bytes of the value as the field has.
  void Set(DescriptorField field, uint32_t value);
  [[nodiscard]] uint32_t Get(DescriptorField field) const;

  [[nodiscard]] uint8_t* Bytes() const { return block.bytes.get(); }
  [[nodiscard]] uint32_t Size() const { return static_cast<uint32_t>(block.size); }

 private:
  ByteBuffer block;
};

}  // namespace NorvoWebAPI::KSV
