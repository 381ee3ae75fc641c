#include "display/image_descriptor.h"

#include <algorithm>

namespace NorvoWebAPI::KSV {

// A logo comes from one argument, whose text has a bound far below the range of the size.
ImageDescriptor::ImageDescriptor(const ByteBuffer& logo)
    : block(ByteBuffer::Allocate(static_cast<int32_t>(DescriptorLayout::kHeaderSize + logo.size))) {
  uint8_t* const pixels = std::fill_n(block.bytes.get(), DescriptorLayout::kHeaderSize, uint8_t{0});
  if (logo.bytes) std::copy_n(logo.bytes.get(), logo.size, pixels);
}

void ImageDescriptor::Set(DescriptorField field, uint32_t value) {
  for (size_t i = 0; i < field.size; ++i) block.bytes[field.offset + i] = static_cast<uint8_t>(value >> (8 * i));
}

uint32_t ImageDescriptor::Get(DescriptorField field) const {
  uint32_t value = 0;
  for (size_t i = 0; i < field.size; ++i) value |= uint32_t{block.bytes[field.offset + i]} << (8 * i);
  return value;
}

}  // namespace NorvoWebAPI::KSV
