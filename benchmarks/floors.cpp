#include "benchmarks/floors.h"

#include <array>
#include <cstdio>

#include "benchmarks/bench_host.h"

extern "C" {
#include <b64/cdecode.h>
}

namespace Bench {

void DecodeBare(benchmark::State& state, const std::string& text) {
  std::string decoded(text.size(), '\0');
  for (auto _ : state) {
    base64_decodestate decoder;
    base64_init_decodestate(&decoder);
    benchmark::DoNotOptimize(base64_decode_block(text.data(), static_cast<int>(text.size()), decoded.data(), &decoder));
  }
}

void ReadBare(const std::string& path) {
  std::array<char, 1024> bytes;
  std::FILE* const file = std::fopen(path.c_str(), "rb");
  benchmark::DoNotOptimize(std::fread(bytes.data(), 1, bytes.size(), file));
  std::fclose(file);
}

void MakeAndReadObject() {
  static NPClass plainClass = [] {
    NPClass table{};
    table.allocate = [](NPP, NPClass* aClass) { return new NPObject{aClass, 0}; };
    table.deallocate = [](NPObject* object) { delete object; };
    table.getProperty = [](NPObject*, NPIdentifier, NPVariant* result) {
      *result = {NPVariantType_Int32, {}};
      return true;
    };
    return table;
  }();
  NPObject* const object = HostFuncs().createobject(nullptr, &plainClass);
  NPVariant member{NPVariantType_Void, {}};
  benchmark::DoNotOptimize(object->_class->getProperty(object, nullptr, &member));
  HostFuncs().releaseobject(object);
}

Names::Names() : wanted(Identifier("name17")) {
  constexpr int kNames = 48;
  for (int i = 0; i < kNames; ++i) names[Identifier("name" + std::to_string(i))] = i;
}

BareHook::BareHook(int type, HOOKPROC procedure)
    : hook(SetWindowsHookExA(type, procedure, nullptr, GetCurrentThreadId())) {}

BareHook::~BareHook() {
  UnhookWindowsHookEx(hook);
}

LRESULT CALLBACK BareHook::PassOn(int code, WPARAM wParam, LPARAM lParam) {
  return CallNextHookEx(nullptr, code, wParam, lParam);
}

FARPROC FindLibraryEntry(const char* library, const char* name) {
  std::u16string path;
  for (const char c : std::string(KSV_AGENT_FOLDER "/") + library) path += static_cast<char16_t>(c);
  return GetProcAddress(LoadLibraryW(path.c_str()), name);
}

}  // namespace Bench
