// The reference display's readers: a remote image's frame, a channel's set-up message, an image's description.
#include "fuzz/support/fuzzing.h"
#include "kit/display/channel.h"

using namespace KsvDisplay;
using fuzz::Demand;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  // A block of its exact size, so that a read beyond it shows. One in two starts as a frame has to.
  Bytes bytes;
  if (data[0] & 1) Append(bytes, AsBytes(std::string_view("KSVF\1")));
  Append(bytes, ByteView(data + 1, size - 1));
  bytes.shrink_to_fit();
  try {
    const Channel::Frame frame = Channel::ReadFrame(bytes);
    Demand(frame.pixels->rgb.size() == size_t{3} * frame.pixels->width * frame.pixels->height, "every pixel is there");
    Demand(frame.covered().size() + frame.tag().size() == bytes.size(), "a frame is covered to its end");
    Channel::CheckTag(frame, AsBytes("key"));
    Demand(false, "a tag of nobody's was taken");
  } catch (const DisplayError&) {
  }
  try {
    Demand(Channel::AnswerSetup(AsBytes("key"), bytes).size() == Channel::kStreamKeySize, "an answer is a stream key");
  } catch (const DisplayError&) {
    Demand(!Channel::IsSetupMessage(bytes), "a set-up message is answered");
  }
  try {
    const Descriptor descriptor = ParseDescriptor(bytes);
    Demand(descriptor.size.x <= kMaxImageSide && descriptor.size.y <= kMaxImageSide, "an image has a size it may have");
    Demand(descriptor.least <= descriptor.greatest, "some length of the input is right");
  } catch (const DisplayError&) {
  }
  return 0;
}
