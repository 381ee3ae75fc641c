// Images: made from a page's description or from a frame, painted, released.
#include <string>

#include "base/base64.h"
#include "display/cksv_plugin_wys.h"
#include "display/display_operation.h"
#include "display/wys_point.h"

namespace NorvoWebAPI::KSV {
namespace {

void DebugNumber(const char* text, size_t number) {
  OutputDebugStringA((text + std::to_string(number)).c_str());
}

// Pages count on zeros for a text that is no point.
WysPoint PointOrZero(const char* text) {
  WysPoint point;
  ParsePoint(text, &point);
  return point;
}

// The pixels, or none when they are not as many as the size says.
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

bool CKSVPluginWYS::CreateStdImage(uint32_t sessionId, int32_t inputType, uint32_t imageId, const char* originText,
                                   const char* imageSizeText, int32_t valueA, const char* pointBText, int32_t valueC,
                                   int32_t valueD, int32_t byteE, const char* logoSizeText, const char* logoText,
                                   int32_t logoTextLength, int32_t* outWidth, int32_t* outHeight, JSObject& result) {
  return Run(entries.CreateStdImage, result, [&] {
    const WysPoint origin = PointOrZero(originText);
    const WysPoint imageSize = PointOrZero(imageSizeText);
    const WysPoint pointB = PointOrZero(pointBText);
    const WysPoint logoSize = PointOrZero(logoSizeText);

    const ByteBuffer logo = TakeLogo(logoText, logoTextLength, logoSize);
    const auto described = std::make_shared<ImageDescriptor>(logo);
    described->Set(DescriptorLayout::kInputType, static_cast<uint32_t>(inputType));
    described->Set(DescriptorLayout::kImageId, imageId);
    described->Set(DescriptorLayout::kImageWidth, imageSize.x);
    described->Set(DescriptorLayout::kImageHeight, imageSize.y);
    described->Set(DescriptorLayout::kPointBX, pointB.x);
    described->Set(DescriptorLayout::kPointBY, pointB.y);
    described->Set(DescriptorLayout::kByteE, static_cast<uint32_t>(byteE));
    described->Set(DescriptorLayout::kValueA, static_cast<uint32_t>(valueA));
    described->Set(DescriptorLayout::kValueC, static_cast<uint32_t>(valueC));
    described->Set(DescriptorLayout::kValueD, static_cast<uint32_t>(valueD));
    described->Set(DescriptorLayout::kLogoWidth, logoSize.x);
    described->Set(DescriptorLayout::kLogoHeight, logoSize.y);
    if (logo.bytes) DebugNumber("Copying logo buffer ", logo.size);

    const int32_t status = entries.CreateStdImage(sessionId, &origin, described->Bytes(), described->Size(), 0, 0);
    if (StoreStatus(result, status) != kDisplayOk) return;
    hasImage = true;
    image = described;
    imageSession = sessionId;
    *outWidth = static_cast<int32_t>(described->Get(DescriptorLayout::kImageWidth));
    *outHeight = static_cast<int32_t>(described->Get(DescriptorLayout::kImageHeight));
    result["ImageId"] = JSObject(static_cast<int32_t>(described->Get(DescriptorLayout::kImageId)));
  });
}

bool CKSVPluginWYS::SubmitFrame(uint32_t sessionId, uint32_t imageId, const char* pointText, int32_t textLength,
                                const char* b64Text, JSObject& result) {
  return Run(entries.SubmitFrame, result, [&] {
    const ByteBuffer frame = DecodeOptional(b64Text, textLength);
    WysPoint point;
    if (!frame.bytes || !ParsePoint(pointText, &point)) return;
    const int32_t status =
        entries.SubmitFrame(sessionId, imageId, &point, static_cast<uint32_t>(frame.size), frame.bytes.get());
    if (StoreStatus(result, status) == kDisplayOk) hasImage = true;
  });
}

bool CKSVPluginWYS::ReleaseImage(uint32_t sessionId, uint32_t imageId, JSObject& result) {
  return RunCall(entries.ReleaseImage, result, sessionId, imageId);
}

bool CKSVPluginWYS::RepaintImage(uint32_t sessionId, uint32_t imageId, JSObject& result) {
  return Run(entries.RepaintImage, result, [&] {
    if (hasImage) StoreStatus(result, entries.RepaintImage(sessionId, imageId));
  });
}

}  // namespace NorvoWebAPI::KSV
