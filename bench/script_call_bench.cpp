// What a script call costs, beside the floor under it: each pair is measured in the same run, and read as a ratio.
#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "bench/bench_host.h"
#include "foundation/base64.h"
#include "foundation/update_gate.h"
#include "platform/win32.h"
#include "script/variant_conversion.h"

extern "C" {
#include <b64/cdecode.h>
}

namespace {

using namespace NorvoWebAPI;

template <typename Entry>
Entry* AgentEntry(const char* name) {
  std::u16string path;
  for (const char* c = KSV_AGENT_FOLDER "/zub.dll"; *c; ++c) path += static_cast<char16_t>(*c);
  static const HMODULE library = LoadLibraryW(path.c_str());
  return reinterpret_cast<Entry*>(reinterpret_cast<void*>(GetProcAddress(library, name)));
}

// --- Reading `version` -----------------------------------------------------------------------------------------

struct VirtualTarget {
  virtual ~VirtualTarget() = default;
  virtual int Read() { return 1; }
};

void FloorLookUpAndVirtualCall(benchmark::State& state) {
  std::unordered_map<NPIdentifier, int> names;
  for (int i = 0; i < 48; ++i) names[Bench::Identifier("name" + std::to_string(i))] = i;
  const NPIdentifier id = Bench::Identifier("name17");
  const std::unique_ptr<VirtualTarget> target = std::make_unique<VirtualTarget>();
  for (auto _ : state) {
    benchmark::DoNotOptimize(names.find(id));
    benchmark::DoNotOptimize(target->Read());
  }
}
BENCHMARK(FloorLookUpAndVirtualCall);

void VersionRead(benchmark::State& state) {
  NPObject* const object = Bench::ThePage().Object();
  const NPIdentifier id = Bench::Identifier("version");
  for (auto _ : state) {
    NPVariant result{NPVariantType_Void, {}};
    object->_class->getProperty(object, id, &result);
    Bench::HostFuncs().releasevariantvalue(&result);
  }
}
BENCHMARK(VersionRead);

// --- zubGetVersion ----------------------------------------------------------------------------------------------

void FloorLibraryGetVersion(benchmark::State& state) {
  auto* const getVersion = AgentEntry<int32_t(uint32_t*)>("ZUB_GetVersion");
  for (auto _ : state) {
    uint32_t version = 0;
    benchmark::DoNotOptimize(getVersion(&version));
  }
}
BENCHMARK(FloorLibraryGetVersion);

void FloorUpdateGate(benchmark::State& state) {
  Bench::ThePage();
  for (auto _ : state) benchmark::DoNotOptimize(Platform::IsUpdateOverdue("win32-npapi"));
}
BENCHMARK(FloorUpdateGate);

void ZubGetVersion(benchmark::State& state) {
  const NPIdentifier id = Bench::Identifier("zubGetVersion");
  for (auto _ : state) benchmark::DoNotOptimize(Bench::ThePage().Call(id, {}));
}
BENCHMARK(ZubGetVersion);

// --- Conversions ------------------------------------------------------------------------------------------------

void FromNPVariant(benchmark::State& state) {
  Bench::ListedObject object{};
  object.referenceCount = 1;
  for (int64_t i = 0; i < state.range(0); ++i) {
    object.ids.push_back(Bench::Identifier("key" + std::to_string(i)));
    object.values.push_back(Bench::Number(static_cast<double>(i)));
  }
  NPVariant variant{NPVariantType_Object, {}};
  variant.value.objectValue = &object;
  for (auto _ : state) {
    benchmark::DoNotOptimize(NPJSConverter::fromNPVariant(nullptr, &Bench::HostFuncs(), &variant));
  }
  state.SetComplexityN(state.range(0));
}
BENCHMARK(FromNPVariant)->RangeMultiplier(10)->Range(10, 10'000)->Complexity(benchmark::oN);

void ToNPVariant(benchmark::State& state) {
  JSObject result;
  result["pluginRetCode"] = JSObject(0);
  result["fnRetCode"] = JSObject(0);
  result["b64OTP"] = JSObject("NzU1MjI0\n");
  result["OTP"] = JSObject("755224");
  for (auto _ : state) {
    NPVariant variant = NPJSConverter::toNPVariant(nullptr, &Bench::HostFuncs(), result);
    Bench::HostFuncs().releasevariantvalue(&variant);
  }
}
BENCHMARK(ToNPVariant);

// --- zubSendData of 64 KiB --------------------------------------------------------------------------------------

std::string BigText() {
  const std::vector<uint8_t> bytes(size_t{64} << 10, 0x5A);
  return EncodeBase64(bytes.data(), bytes.size());
}

void FloorDecode64KiB(benchmark::State& state) {
  const std::string text = BigText();
  std::string decoded(text.size(), '\0');
  for (auto _ : state) {
    base64_decodestate decoder;
    base64_init_decodestate(&decoder);
    benchmark::DoNotOptimize(base64_decode_block(text.data(), static_cast<int>(text.size()), decoded.data(), &decoder));
  }
}
BENCHMARK(FloorDecode64KiB);

void ZubSendData64KiB(benchmark::State& state) {
  const std::string text = BigText();
  const std::string name = "no such applet";  // The agent refuses it at once: what is left is the plug-in's own work.
  const std::vector<NPVariant> args{Bench::Text(name), Bench::Number(1), Bench::Number(0), Bench::Text(text)};
  const NPIdentifier id = Bench::Identifier("zubSendData");
  for (auto _ : state) benchmark::DoNotOptimize(Bench::ThePage().Call(id, args));
}
BENCHMARK(ZubSendData64KiB);

}  // namespace

BENCHMARK_MAIN();
