// The page's address: any text, or a location that is none, throws, changes or ends the page while it is read.
#include <stdexcept>

#include "fuzz/support/fuzzing.h"
#include "page/plugin.h"
#include "page/scriptable.h"
#include "tests/support/page.h"
#include "tokens/origin.h"

using namespace NorvoWebAPI::KSV;
using namespace support;
using fuzz::Demand;

namespace {

void CheckText(const std::string& address) {
  std::string origin = address;
  NorvoWebAPI::NormalizeOrigin(origin);
  const size_t scheme = address.find("://");
  if (scheme == std::string::npos) return Demand(origin.size() == address.size(), "no address, nothing cut");
  Demand(origin.starts_with(address.substr(0, scheme).substr(0, address.find(':'))), "the scheme stands first");
  Demand(origin.find('/', scheme) == std::string::npos, "no path follows the host");
  Demand(origin.size() <= address.size() - 2, "what is cut is gone");
}

Value AnyValue(fuzz::Input& input, TestHost& host, Page& page) {
  if (input.OnceIn(8)) input.ConsumeBool() ? page.Destroy() : page.End();
  switch (input.ConsumeIntegralInRange(0, 5)) {
    case 0:
      return input.Number();
    case 1:
      return nullptr;
    case 2:
      return static_cast<NPObject*>(host.Object());
    default:
      return input.Text();
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzz::World();
  fuzz::Input input(data, size);
  CheckText(input.Text());

  TestHost host;
  Page page(host, input.Text());
  if (input.ConsumeBool()) {
    const auto toString = host.NewFunction([&](const std::vector<Value>&, Value& result) {
      result = AnyValue(input, host, page);
      return !input.OnceIn(4);
    });
    ScriptObject* const location = host.Object({{"toString", toString}});
    page.Window().Define("location", [&, location]() -> Value {
      if (input.OnceIn(4)) return AnyValue(input, host, page);
      return location;
    });
  }
  for (int calls = 0; calls < 3 && page.Object(); ++calls) {
    if (input.OnceIn(4)) host.Fail(input.ConsumeBool() ? Fault::GetValue : Fault::GetProperty);
    page.Call("zubEnumerateTokensDomainBinding");
    host.Fail(Fault::GetValue, 0);
    host.Fail(Fault::GetProperty, 0);
  }
  return 0;
}
