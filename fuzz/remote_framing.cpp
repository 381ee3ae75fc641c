// Points and descriptions of images, and the set-up message of a remote image's channel, as a page may word them.
#include <cstring>

#include "base/base64.h"
#include "display/image_descriptor.h"
#include "display/wys_point.h"
#include "fuzz/support/fuzzing.h"
#include "kit/shared/hex.h"
#include "platform/desktop.h"
#include "tests/support/page.h"

using namespace NorvoWebAPI;
using namespace NorvoWebAPI::KSV;
using fuzz::Demand;

namespace {

std::string Decoded(const std::string& text) {
  const ByteBuffer bytes = DecodeOptional(text.data(), static_cast<int32_t>(text.size()));
  return {reinterpret_cast<const char*>(bytes.bytes.get()), bytes.size};
}

std::string WithLength(const std::string& part) {
  const std::string length{static_cast<char>(part.size() >> 8), static_cast<char>(part.size())};
  return length + part;
}

void CheckPoint(const std::string& text) {
  WysPoint point{7, 9};
  const bool read = ParsePoint(text.c_str(), &point);
  Demand(read || (point.x == 7 && point.y == 9), "a text that is no point changes none");
}

void CheckDescriptor(fuzz::Input& input) {
  ByteBuffer logo = ByteBuffer::Allocate(input.ConsumeIntegralInRange<int32_t>(0, 300));
  if (logo.size > 0) std::memset(logo.bytes.get(), 0x40, logo.size);
  ImageDescriptor descriptor(logo);
  constexpr DescriptorField kFields[] = {
      DescriptorLayout::kInputType,  DescriptorLayout::kImageId,   DescriptorLayout::kImageWidth,
      DescriptorLayout::kPointBY,    DescriptorLayout::kByteE,     DescriptorLayout::kValueD,
      DescriptorLayout::kLogoHeight, DescriptorLayout::kLogoWidth, DescriptorLayout::kValueA};
  const DescriptorField field = input.Pick(kFields);
  const auto value = static_cast<uint32_t>(input.Number());
  descriptor.Set(field, value);
  Demand(descriptor.Get(field) == (value & static_cast<uint32_t>((uint64_t{1} << (8 * field.size)) - 1)),
         "a field keeps its low bytes");
  uint32_t set = 0;
  for (uint32_t i = 0; i < DescriptorLayout::kHeaderSize; ++i) set += descriptor.Bytes()[i] != 0;
  Demand(set <= field.size, "a field leaves the others alone");
  Demand(descriptor.Size() == DescriptorLayout::kHeaderSize + logo.size &&
             (logo.size == 0 || descriptor.Bytes()[descriptor.Size() - 1] == 0x40),
         "the logo follows the header");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static support::DisplayStub& display = *new support::DisplayStub(fuzz::World());
  fuzz::Input input(data, size);
  CheckPoint(input.Text());
  CheckDescriptor(input);

  support::TestHost host;
  platform::TestWindow window;
  support::Page page(host, "https://page.example/", window.handle());
  std::string part[4];
  for (std::string& text : part) text = input.Text();
  const std::string sent = WithLength(Decoded(part[0])) + Decoded(part[1]) + WithLength(Decoded(part[2]));
  const std::string shown = ", 250, <" + KsvKit::Hex(sent) + ", >32, 1";
  display.On("WYSSendRecv", [&](DisplayCall& call) {
    Demand(std::string(call.shown).find(shown) != std::string::npos, "the parts stand one behind the other");
    *call.length = static_cast<uint32_t>(input.Number());
  });
  display.On("WYSSubmitFrame", [&](DisplayCall& call) { call.status = input.Number(); });
  page.Call("wysInit", {0, ""});
  page.Call("wysEstablishSession");
  page.Call("wysProcessRemoteWysMessage",
            {part[0], input.Number(), part[1], part[2], std::string(), part[3], input.Text(), input.Text()});
  page.End();
  display.TakeCalls();
  return 0;
}
