// What Base64 costs at the plug-in's own interface.
#include <benchmark/benchmark.h>

#include <string>
#include <vector>

#include "base/base64.h"
#include "benchmarks/floors.h"
#include "benchmarks/pairs.h"

extern "C" {
#include <b64/cencode.h>
}

namespace {

using namespace NorvoWebAPI;

const std::vector<uint8_t> bytes(size_t{64} << 10, 0x5A);

void FloorEncode(benchmark::State& state) {
  std::string text(bytes.size() * 2, '\0');
  for (auto _ : state) {
    base64_encodestate encoder;
    base64_init_encodestate(&encoder);
    benchmark::DoNotOptimize(base64_encode_block(reinterpret_cast<const char*>(bytes.data()),
                                                 static_cast<int>(bytes.size()), text.data(), &encoder));
  }
}

void Encode(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(EncodeBase64(bytes.data(), bytes.size()));
}

void FloorDecode(benchmark::State& state) {
  Bench::DecodeBare(state, EncodeBase64(bytes.data(), bytes.size()));
}

void Decode(benchmark::State& state) {
  const std::string text = EncodeBase64(bytes.data(), bytes.size());
  for (auto _ : state) benchmark::DoNotOptimize(DecodeBase64(text.data(), static_cast<int32_t>(text.size())));
}

const Bench::Pairs pairs{
    {"Base64 encode, 64 KiB", Encode, "libb64's encode", FloorEncode},
    {"Base64 decode, 64 KiB", Decode, "libb64's decode", FloorDecode},
};

}  // namespace
