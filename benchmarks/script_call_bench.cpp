// What a script call and its values cost.
#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "base/base64.h"
#include "benchmarks/bench_host.h"
#include "benchmarks/floors.h"
#include "benchmarks/pairs.h"
#include "platform/system_path.h"
#include "script/js_object.h"
#include "script/variant_conversion.h"
#include "storage/platform_files.h"
#include "storage/update_gate.h"
#include "vendor/zub.h"

namespace {

using namespace NorvoWebAPI;

// --- Reading `version` -----------------------------------------------------------------------------------------

// The text is the host's to free, so each read has to make one.
void FloorVersionRead(benchmark::State& state) {
  struct Target {
    virtual ~Target() = default;
    virtual const char* Read() { return "5.0.9"; }
  };
  const Bench::MethodNames names;
  const std::unique_ptr<Target> target = std::make_unique<Target>();
  for (auto _ : state) {
    names.LookUp();
    const char* const text = target->Read();
    const auto length = static_cast<uint32_t>(std::strlen(text));
    auto* const copy = static_cast<char*>(Bench::HostFuncs().memalloc(length + 1));
    std::memcpy(copy, text, length + 1);
    NPVariant result{NPVariantType_String, {}};
    result.value.stringValue = {copy, length};
    Bench::HostFuncs().releasevariantvalue(&result);
  }
}

void VersionRead(benchmark::State& state) {
  NPObject* const object = Bench::ThePage().Object();
  const NPIdentifier id = Bench::Identifier("version");
  for (auto _ : state) {
    NPVariant result{NPVariantType_Void, {}};
    object->_class->getProperty(object, id, &result);
    Bench::HostFuncs().releasevariantvalue(&result);
  }
}

// --- zubGetVersion ----------------------------------------------------------------------------------------------

std::string TimeFile() {
  Bench::ThePage();
  return SystemPath(Platform::GetLastUpdatePath("win32-npapi"));
}

void FloorUpdateGate(benchmark::State& state) {
  const std::string path = TimeFile();
  for (auto _ : state) Bench::ReadBare(path);
}

void UpdateGate(benchmark::State& state) {
  Bench::ThePage();
  for (auto _ : state) benchmark::DoNotOptimize(Platform::IsUpdateOverdue("win32-npapi"));
}

void FloorZubGetVersion(benchmark::State& state) {
  auto* const getVersion = Bench::LibraryEntry<decltype(ZUB_GetVersion)>("zub.dll", "ZUB_GetVersion");
  const Bench::MethodNames names;
  const std::string path = TimeFile();
  for (auto _ : state) {
    names.LookUp();
    Bench::ReadBare(path);
    uint32_t version = 0;
    benchmark::DoNotOptimize(getVersion(&version));
    Bench::MakeAndReadResult();
  }
}

void ZubGetVersion(benchmark::State& state) {
  const NPIdentifier id = Bench::Identifier("zubGetVersion");
  for (auto _ : state) benchmark::DoNotOptimize(Bench::ThePage().Call(id, {}));
}

// --- Values -----------------------------------------------------------------------------------------------------

class NumberedObject : public Bench::ListedObject {
 public:
  explicit NumberedObject(int count) : Bench::ListedObject{} {
    referenceCount = 1;
    for (int i = 0; i < count; ++i) {
      ids.push_back(Bench::Identifier("key" + std::to_string(i)));
      values.push_back(Bench::Number(i));
    }
  }
};

// The host is asked for each key and each value, and they are kept by name.
template <int keys>
void FloorFromNPVariant(benchmark::State& state) {
  const NPNetscapeFuncs& host = Bench::HostFuncs();
  NumberedObject object(keys);
  for (auto _ : state) {
    std::unordered_map<std::string, double> members;
    NPIdentifier* ids = nullptr;
    uint32_t count = 0;
    host.enumerate(nullptr, &object, &ids, &count);
    for (uint32_t i = 0; i < count; ++i) {
      NPUTF8* const key = host.utf8fromidentifier(ids[i]);
      NPVariant value{NPVariantType_Void, {}};
      host.getproperty(nullptr, &object, ids[i], &value);
      members[key] = value.value.doubleValue;
      host.memfree(key);
    }
    host.memfree(ids);
    benchmark::DoNotOptimize(members);
  }
}

template <int keys>
void FromNPVariant(benchmark::State& state) {
  NumberedObject object(keys);
  const InstanceLife life;
  NPVariant variant{NPVariantType_Object, {}};
  variant.value.objectValue = &object;
  for (auto _ : state) {
    benchmark::DoNotOptimize(NPJSConverter::fromNPVariant(nullptr, &Bench::HostFuncs(), &variant, life));
  }
}

void FloorResult(benchmark::State& state) {
  for (auto _ : state) Bench::MakeAndReadResult(4);
}

void Result(benchmark::State& state) {
  const NPIdentifier status = Bench::Identifier("fnRetCode");
  const auto life = std::make_shared<const InstanceLife>();
  for (auto _ : state) {
    JSObject result;
    result["pluginRetCode"] = JSObject(0);
    result["fnRetCode"] = JSObject(0);
    result["b64OTP"] = JSObject("NzU1MjI0\n");
    result["OTP"] = JSObject("755224");
    NPVariant variant = NPJSConverter::toNPVariant(nullptr, &Bench::HostFuncs(), std::move(result), life);
    NPObject* const object = variant.value.objectValue;
    NPVariant member{NPVariantType_Void, {}};
    object->_class->getProperty(object, status, &member);
    Bench::HostFuncs().releasevariantvalue(&variant);
  }
}

// --- zubSendData of 64 KiB --------------------------------------------------------------------------------------

std::string BigText() {
  const std::vector<uint8_t> bytes(size_t{64} << 10, 0x5A);
  return EncodeBase64(bytes.data(), bytes.size());
}

void FloorZubSendData(benchmark::State& state) {
  Bench::DecodeBare(state, BigText());
}

void ZubSendData(benchmark::State& state) {
  const std::string text = BigText();
  const std::string name = "no such applet";  // The agent refuses it at once: what is left is the plug-in's own work.
  const std::vector<NPVariant> args{Bench::Text(name), Bench::Number(1), Bench::Number(0), Bench::Text(text)};
  const NPIdentifier id = Bench::Identifier("zubSendData");
  for (auto _ : state) benchmark::DoNotOptimize(Bench::ThePage().Call(id, args));
}

const Bench::Pairs pairs{
    {"read of version", VersionRead, "look-up, virtual call, the host's text", FloorVersionRead},
    {"update gate", UpdateGate, "read of the time file", FloorUpdateGate},
    {"zubGetVersion", ZubGetVersion, "look-up, read of the time file, library's call, a result", FloorZubGetVersion},
    {"zubSendData, 64 KiB", ZubSendData, "libb64's decode", FloorZubSendData},
    {"argument of 10 keys", FromNPVariant<10>, "the host's answers, a map", FloorFromNPVariant<10>},
    {"argument of 100 keys", FromNPVariant<100>, "the host's answers, a map", FloorFromNPVariant<100>},
    {"argument of 1,000 keys", FromNPVariant<1'000>, "the host's answers, a map", FloorFromNPVariant<1'000>},
    {"argument of 10,000 keys", FromNPVariant<10'000>, "the host's answers, a map", FloorFromNPVariant<10'000>},
    {"result of four members", Result, "an object of the host's over a map", FloorResult},
};

}  // namespace
