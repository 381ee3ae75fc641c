// What the token store costs beside the same files without its checks.
#include <benchmark/benchmark.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "benchmarks/bench_host.h"
#include "benchmarks/floors.h"
#include "benchmarks/pairs.h"
#include "platform/system_path.h"
#include "storage/platform_files.h"
#include "tokens/token_store.h"

namespace {

using namespace NorvoWebAPI;
namespace TokenStore = KSV::TokenStore;

constexpr char kDomain[] = "bench.example";
constexpr std::array<uint8_t, 120> kToken{};

std::string TokenName(int number) {
  return "token" + std::to_string(number);
}

// The folder of a domain that has twenty tokens.
std::string Folder() {
  Bench::ThePage();
  const std::string folder = SystemPath(Platform::GetBasePath() + "KSV_tokens\\" + kDomain);
  constexpr int kTokens = 20;
  if (!std::filesystem::exists(folder)) {
    for (int i = 0; i < kTokens; ++i) {
      TokenStore::Write(kDomain, nullptr, TokenName(i).c_str(), kToken.data(), kToken.size());
    }
  }
  return folder;
}

void FloorRead(benchmark::State& state) {
  const std::string folder = Folder();
  const std::string name = TokenName(7);
  for (auto _ : state) {
    benchmark::DoNotOptimize(Bench::ListBare(folder));
    Bench::ReadBare(folder + "/" + name);
  }
}

void Read(benchmark::State& state) {
  Folder();
  const std::string name = TokenName(7);
  for (auto _ : state) {
    std::unique_ptr<uint8_t[]> buffer;
    benchmark::DoNotOptimize(TokenStore::Read(kDomain, name.c_str(), &buffer));
  }
}

void FloorEnumerate(benchmark::State& state) {
  const std::string folder = Folder();
  for (auto _ : state) benchmark::DoNotOptimize(Bench::ListBare(folder));
}

void Enumerate(benchmark::State& state) {
  Folder();
  for (auto _ : state) {
    std::vector<std::string> names;
    benchmark::DoNotOptimize(TokenStore::Enumerate(kDomain, names));
  }
}

void FloorWriteAndDelete(benchmark::State& state) {
  const std::string folder = Folder();
  const std::string path = folder + "/new";
  for (auto _ : state) {
    benchmark::DoNotOptimize(Bench::ListBare(folder));
    std::FILE* const file = std::fopen(path.c_str(), "wbx");
    benchmark::DoNotOptimize(std::fwrite(kToken.data(), 1, kToken.size(), file));
    std::fclose(file);
    benchmark::DoNotOptimize(Bench::ListBare(folder));
    std::remove(path.c_str());
  }
}

void WriteAndDelete(benchmark::State& state) {
  Folder();
  for (auto _ : state) {
    TokenStore::Write(kDomain, nullptr, "new", kToken.data(), kToken.size());
    TokenStore::Delete(kDomain, "new");
  }
}

const Bench::Pairs pairs{
    {"token read", Read, "walk through the folder, read of the file", FloorRead},
    {"tokens listed, 20", Enumerate, "walk through the folder", FloorEnumerate},
    {"token written and deleted", WriteAndDelete, "two walks through the folder, the same of a plain file",
     FloorWriteAndDelete},
};

}  // namespace
