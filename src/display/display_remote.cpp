// An image that the page holds as a frame: the set-up of its channel, its key, the frame itself, in one operation.
#include <cstring>
#include <limits>
#include <new>
#include <utility>

#include "base/base64.h"
#include "display/cksv_plugin_wys.h"
#include "display/display_operation.h"
#include "display/wys_point.h"
#include "library/output_buffer.h"
#include "tokens/token_store.h"

namespace NorvoWebAPI::KSV {
namespace {

constexpr int32_t kChannelSetup = 250;
constexpr int32_t kChannelSetupFlag = 1;
constexpr int32_t kMaxStreamKey = 32;

// Lays a message out behind what it holds already.
class MessageWriter {
 public:
  explicit MessageWriter(uint8_t* start) : next(start) {}

  // The low 16 bits of the length, in network order.
  void PutLength(const ByteBuffer& part) {
    const uint16_t length = htons(static_cast<uint16_t>(part.size));
    Put(&length, sizeof length);
  }
  void PutBytes(const ByteBuffer& part) { Put(part.bytes.get(), part.size); }

 private:
  void Put(const void* bytes, size_t size) {
    if (size > 0) std::memcpy(next, bytes, size);
    next += size;
  }

  uint8_t* next;
};

// Length of A, A, B, length of C, C. The end of B follows only from what stands behind it.
ByteBuffer FrameChannelSetup(const ByteBuffer& partA, const ByteBuffer& partB, const ByteBuffer& partC) {
  const uint64_t size = uint64_t{4} + partA.size + partB.size + partC.size;
  if (size > static_cast<uint64_t>(std::numeric_limits<int32_t>::max())) throw std::bad_alloc();
  ByteBuffer message = ByteBuffer::Allocate(static_cast<int32_t>(size));
  MessageWriter writer(message.bytes.get());
  writer.PutLength(partA);
  writer.PutBytes(partA);
  writer.PutBytes(partB);
  writer.PutLength(partC);
  writer.PutBytes(partC);
  return message;
}

}  // namespace

bool CKSVPluginWYS::CheckRemoteEntries(JSObject& result) const {
  const std::pair<const EntryTable::Row&, const char*> needed[] = {
      {entries.SendRecv, "plugin wysSendRecv function not found"},
      {entries.SetStreamKey, "plugin wysSetStreamKey function not found"},
      {entries.SubmitFrame, "plugin wysSubmitFrame function not found"},
      {entries.RepaintImage, "plugin wysRepaintImage function not found"},
  };
  bool allThere = true;
  for (const auto& [entryPoint, missing] : needed) {
    if (CheckEntry(entryPoint, result)) continue;
    OutputDebugStringA(missing);
    allThere = false;
  }
  return allThere;
}

uint32_t CKSVPluginWYS::SetUpChannel(uint32_t displayContext, uint32_t sessionId, const ByteBuffer& message,
                                     OutputBuffer<uint32_t>& streamKey, JSObject& result) {
  OutputDebugStringA("CKSVPluginWYS::ksvWYSRemoteWysSession calling WYSSendRecv");
  const int32_t status =
      entries.SendRecv(displayContext, sessionId, kChannelSetup, static_cast<uint32_t>(message.size),
                       message.bytes.get(), streamKey.Length(), streamKey.Bytes(), kChannelSetupFlag);
  if (StoreStatus(result, status) != kDisplayOk) return 0;
  // Until the key is known to be one: a claim of more than there was room for ends here, and no image came of it.
  StoreStatus(result, kDisplayNotCalled);
  const uint32_t keyLength = streamKey.StoredLength();
  StoreStatus(result, kDisplayOk);
  return keyLength;
}

bool CKSVPluginWYS::ksvWYSRemoteWysSession(uint32_t displayContext, uint32_t sessionId, uint32_t imageId,
                                           const char* b64Frame, int32_t b64FrameLength, const char* b64PartA,
                                           int32_t b64PartALength, const char* b64PartB, int32_t b64PartBLength,
                                           int32_t b64TokenLength, const char* b64Token, const char* domain,
                                           const char* tokenFileName, const char* framePointText,
                                           const char* imageSizeText, int32_t* outWidth, int32_t* outHeight,
                                           JSObject& result) {
  const auto work = [&] {
    const ByteBuffer frame = DecodeOptional(b64Frame, b64FrameLength);
    const ByteBuffer partA = DecodeOptional(b64PartA, b64PartALength);
    const ByteBuffer partB = DecodeOptional(b64PartB, b64PartBLength);
    const ByteBuffer partC = TokenStore::Take(b64Token, b64TokenLength, domain, tokenFileName);
    const ByteBuffer message = FrameChannelSetup(partA, partB, partC);

    OutputBuffer<uint32_t> streamKey(kMaxStreamKey, kMaxStreamKey);
    const uint32_t keyLength = SetUpChannel(displayContext, sessionId, message, streamKey, result);
    if (keyLength == 0 || pageEnded) return;

    OutputDebugStringA(
        "CKSVPluginWYS::ksvWYSRemoteWysSession, ChannelSetupRespBuf && (ChannelSetupRespBufLen > 0) calling "
        "WYSSetStreamKey");
    int32_t status = entries.SetStreamKey(sessionId, keyLength, streamKey.Bytes());
    if (StoreStatus(result, status) != kDisplayOk) return;

    WysPoint point;
    if (!ParsePoint(framePointText, &point) || pageEnded) return;
    OutputDebugStringA("CKSVPluginWYS::ksvWYSRemoteWysSession, calling WYSSubmitFrame");
    status = entries.SubmitFrame(sessionId, imageId, &point, static_cast<uint32_t>(frame.size), frame.bytes.get());
    if (StoreStatus(result, status) != kDisplayOk) return;

    OutputDebugStringA("CKSVPluginWYS::ksvWYSRemoteWysSession, calling WYSRepaintImage");
    hasImage = true;
    if (pageEnded) return;
    if (StoreStatus(result, entries.RepaintImage(sessionId, imageId)) != kDisplayOk) return;

    WysPoint size;
    ParsePoint(imageSizeText, &size);
    *outWidth = size.x;
    *outHeight = size.y;
  };
  RunOperation(
      kDisplayNotCalled, [&] { return CheckRemoteEntries(result); }, TellsApart::BadAlloc, result, work);
  return true;
}

}  // namespace NorvoWebAPI::KSV
