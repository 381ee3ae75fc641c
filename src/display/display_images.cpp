// Creating an image from a page's description or from a frame, painting it, releasing it.
#include <string>

#include "base/base64.h"
#include "display/cksv_plugin_wys.h"
#include "display/display_operation.h"
#include "display/image_descriptor.h"
#include "display/wys_point.h"

namespace NorvoWebAPI::KSV {
namespace {

void DebugNumber(const char* text, size_t number) {
  OutputDebugStringA((text + std::to_string(number)).c_str());
}

// A text that is no point counts as zeros.
WysPoint PointOrZero(const char* text) {
  WysPoint point;
  ParsePoint(text, &point);
  return point;
}

// The logo's pixels, or none when the size calls for another number of bytes.
ByteBuffer TakeLogo(const char* text, int32_t length, WysPoint size) {
  DebugNumber("logo buffer len ", static_cast<size_t>(length));
  ByteBuffer logo = DecodeOptional(text, length);
  if (!logo.bytes) return logo;
  if (logo.size != uint64_t{size.x} * size.y * 3) {
    OutputDebugStringA("CreateStad : Invalid logo length provided");
    return {};
  }
  return logo;
}

}  // namespace

Outcome CKSVPluginWYS::CreateStdImage(uint32_t sessionId, int32_t inputType, uint32_t imageId, const char* positionText,
                                      const char* imageSizeText, int32_t valueA, const char* pointBText, int32_t valueC,
                                      int32_t valueD, int32_t byteE, const char* logoSizeText, const char* logoText,
                                      int32_t logoTextLength, int32_t* outWidth, int32_t* outHeight, JSObject& result) {
  return Run(entries.CreateStdImage, [&](Outcome& outcome) {
    const WysPoint position = PointOrZero(positionText);
    const WysPoint imageSize = PointOrZero(imageSizeText);
    const WysPoint pointB = PointOrZero(pointBText);
    const WysPoint logoSize = PointOrZero(logoSizeText);

    const ByteBuffer logo = TakeLogo(logoText, logoTextLength, logoSize);
    ImageDescriptor descriptor(logo);
    descriptor.Set(DescriptorLayout::kInputType, static_cast<uint32_t>(inputType));
    descriptor.Set(DescriptorLayout::kImageId, imageId);
    descriptor.Set(DescriptorLayout::kImageWidth, imageSize.x);
    descriptor.Set(DescriptorLayout::kImageHeight, imageSize.y);
    descriptor.Set(DescriptorLayout::kPointBX, pointB.x);
    descriptor.Set(DescriptorLayout::kPointBY, pointB.y);
    descriptor.Set(DescriptorLayout::kByteE, static_cast<uint32_t>(byteE));
    descriptor.Set(DescriptorLayout::kValueA, static_cast<uint32_t>(valueA));
    descriptor.Set(DescriptorLayout::kValueC, static_cast<uint32_t>(valueC));
    descriptor.Set(DescriptorLayout::kValueD, static_cast<uint32_t>(valueD));
    descriptor.Set(DescriptorLayout::kLogoWidth, logoSize.x);
    descriptor.Set(DescriptorLayout::kLogoHeight, logoSize.y);
    if (logo.bytes) DebugNumber("Copying logo buffer ", logo.size);

    outcome.status = entries.CreateStdImage(sessionId, &position, descriptor.Bytes(), descriptor.Size(), 0, 0);
    if (outcome.status != kDisplayOk) return;
    hasImage = true;
    *outWidth = static_cast<int32_t>(descriptor.Get(DescriptorLayout::kImageWidth));
    *outHeight = static_cast<int32_t>(descriptor.Get(DescriptorLayout::kImageHeight));
    result["ImageId"] = JSObject(static_cast<int32_t>(descriptor.Get(DescriptorLayout::kImageId)));
  });
}

Outcome CKSVPluginWYS::SubmitFrame(uint32_t sessionId, uint32_t imageId, const char* pointText, int32_t textLength,
                                   const char* b64Text) {
  return Run(entries.SubmitFrame, [&](Outcome& outcome) {
    const ByteBuffer frame = DecodeOptional(b64Text, textLength);
    WysPoint point;
    if (!frame.bytes || !ParsePoint(pointText, &point)) return;
    outcome.status =
        entries.SubmitFrame(sessionId, imageId, &point, static_cast<uint32_t>(frame.size), frame.bytes.get());
    if (outcome.status == kDisplayOk) hasImage = true;
  });
}

Outcome CKSVPluginWYS::ReleaseImage(uint32_t sessionId, uint32_t imageId) {
  return RunCall(entries.ReleaseImage, sessionId, imageId);
}

Outcome CKSVPluginWYS::RepaintImage(uint32_t sessionId, uint32_t imageId) {
  return Run(entries.RepaintImage, [&](Outcome& outcome) {
    if (hasImage) outcome.status = entries.RepaintImage(sessionId, imageId);
  });
}

}  // namespace NorvoWebAPI::KSV
