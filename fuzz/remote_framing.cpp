// The set-up message, the frame and the point of a remote image, as a page may word them; Base64 with them.
#include <vector>

#include "base/base64.h"
#include "fuzz/support/fuzzing.h"
#include "kit/shared/hex.h"
#include "platform/desktop.h"
#include "tests/support/page.h"

using namespace NorvoWebAPI;
using namespace NorvoWebAPI::KSV;
using fuzz::Demand;

namespace {

std::string Decoded(const std::string& text) {
  // A block of its exact size, so that a read beyond it shows.
  const std::vector<char> exact(text.begin(), text.end());
  const ByteBuffer bytes = DecodeOptional(exact.data(), static_cast<int32_t>(exact.size()));
  const std::string again = EncodeBase64(bytes.bytes.get(), bytes.size);
  const ByteBuffer back = DecodeBase64(again.data(), static_cast<int32_t>(again.size()));
  const std::string decoded(reinterpret_cast<const char*>(bytes.bytes.get()), bytes.size);
  Demand(decoded == std::string(reinterpret_cast<const char*>(back.bytes.get()), back.size), "it reads back");
  return decoded;
}

std::string WithLength(const std::string& part) {
  const std::string length{static_cast<char>(part.size() >> 8), static_cast<char>(part.size())};
  return length + part;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static support::DisplayStub& display = *new support::DisplayStub(fuzz::World());
  fuzz::Input input(data, size);
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
