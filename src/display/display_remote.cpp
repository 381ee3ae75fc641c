// Showing an image that the page holds as a frame: channel set-up, stream key, frame and painting in one operation.
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

// Writes a message piece by piece.
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

// The layout: length of A, A, B, length of C, C. B has no length of its own.
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

bool CKSVPluginWYS::CheckRemoteEntries(Outcome& outcome) const {
  const std::pair<const EntryTable::Row&, const char*> needed[] = {
      {entries.SendRecv, "plugin wysSendRecv function not found"},
      {entries.SetStreamKey, "plugin wysSetStreamKey function not found"},
      {entries.SubmitFrame, "plugin wysSubmitFrame function not found"},
      {entries.RepaintImage, "plugin wysRepaintImage function not found"},
  };
  bool allThere = true;
  for (const auto& [entryPoint, missing] : needed) {
    if (CheckEntry(entryPoint, outcome)) continue;
    OutputDebugStringA(missing);
    allThere = false;
  }
  return allThere;
}

Outcome CKSVPluginWYS::ksvWYSRemoteWysSession(uint32_t displayContext, uint32_t sessionId, uint32_t imageId,
                                              const char* b64Frame, int32_t b64FrameLength, const char* b64PartA,
                                              int32_t b64PartALength, const char* b64PartB, int32_t b64PartBLength,
                                              int32_t b64TokenLength, const char* b64Token, const char* domain,
                                              const char* tokenFileName, const char* framePointText,
                                              const char* imageSizeText, int32_t* outWidth, int32_t* outHeight) {
  const auto work = [&](Outcome& outcome) {
    // Stores the status of a library call; true when the next one may follow.
    const auto succeeded = [&](int32_t status) {
      outcome.status = status;
      return status == kDisplayOk;
    };
    const ByteBuffer frame = DecodeOptional(b64Frame, b64FrameLength);
    const ByteBuffer partA = DecodeOptional(b64PartA, b64PartALength);
    const ByteBuffer partB = DecodeOptional(b64PartB, b64PartBLength);
    const ByteBuffer partC = TokenStore::Take(b64Token, b64TokenLength, domain, tokenFileName);
    const ByteBuffer message = FrameChannelSetup(partA, partB, partC);
    OutputBuffer<uint32_t> streamKey(kMaxStreamKey, kMaxStreamKey);
    OutputDebugStringA("CKSVPluginWYS::ksvWYSRemoteWysSession calling WYSSendRecv");
    const int32_t answered =
        entries.SendRecv(displayContext, sessionId, kChannelSetup, static_cast<uint32_t>(message.size),
                         message.bytes.get(), streamKey.Length(), streamKey.Bytes(), kChannelSetupFlag);
    // A key longer than its buffer ends the operation here, while the status still says that there is no image.
    const uint32_t keyLength = answered == kDisplayOk ? streamKey.StoredLength() : 0;
    if (!succeeded(answered) || keyLength == 0) return;
    OutputDebugStringA(
        "CKSVPluginWYS::ksvWYSRemoteWysSession, ChannelSetupRespBuf && (ChannelSetupRespBufLen > 0) calling "
        "WYSSetStreamKey");
    if (!succeeded(entries.SetStreamKey(sessionId, keyLength, streamKey.Bytes()))) return;
    WysPoint point;
    if (!ParsePoint(framePointText, &point)) return;
    OutputDebugStringA("CKSVPluginWYS::ksvWYSRemoteWysSession, calling WYSSubmitFrame");
    const auto frameLength = static_cast<uint32_t>(frame.size);
    if (!succeeded(entries.SubmitFrame(sessionId, imageId, &point, frameLength, frame.bytes.get()))) return;
    OutputDebugStringA("CKSVPluginWYS::ksvWYSRemoteWysSession, calling WYSRepaintImage");
    hasImage = true;
    if (!succeeded(entries.RepaintImage(sessionId, imageId))) return;
    WysPoint size;
    ParsePoint(imageSizeText, &size);
    *outWidth = size.x;
    *outHeight = size.y;
  };
  return RunOperation(
      kDisplayNotCalled, CodedExceptions::BadAlloc, [&](Outcome& outcome) { return CheckRemoteEntries(outcome); },
      work);
}

}  // namespace NorvoWebAPI::KSV
