#include "benchmarks/floors.h"

#include <dirent.h>

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

std::vector<std::string> ListBare(const std::string& folder) {
  std::vector<std::string> names;
  DIR* const listing = opendir(folder.c_str());
  while (const dirent* const entry = readdir(listing)) names.emplace_back(entry->d_name);
  closedir(listing);
  return names;
}

namespace {

struct PlainObject : NPObject {
  std::unordered_map<std::string, NPVariant> members;
};

NPClass MakePlainClass() {
  NPClass table{};
  table.allocate = [](NPP, NPClass* aClass) -> NPObject* { return new PlainObject{{aClass, 0}, {}}; };
  table.deallocate = [](NPObject* object) { delete static_cast<PlainObject*>(object); };
  table.getProperty = [](NPObject* object, NPIdentifier id, NPVariant* result) {
    NPUTF8* const name = HostFuncs().utf8fromidentifier(id);
    *result = static_cast<PlainObject*>(object)->members.at(name);
    HostFuncs().memfree(name);
    return true;
  };
  return table;
}

// One reference on an object of the host's.
class BareObject {
 public:
  explicit BareObject(size_t members) {
    static NPClass plainClass = MakePlainClass();
    static constexpr std::array<const char*, 4> kNames{"fnRetCode", "pluginRetCode", "b64OTP", "OTP"};
    object = static_cast<PlainObject*>(HostFuncs().createobject(nullptr, &plainClass));
    for (size_t i = 0; i < members; ++i) object->members[kNames.at(i)] = {NPVariantType_Int32, {}};
  }
  BareObject(const BareObject&) = delete;
  BareObject& operator=(const BareObject&) = delete;
  ~BareObject() { HostFuncs().releaseobject(object); }

  [[nodiscard]] NPObject* Get() const { return object; }

 private:
  PlainObject* object;
};

}  // namespace

void MakeAndReadResult(size_t members) {
  static const NPIdentifier status = Identifier("fnRetCode");
  const BareObject object(members);
  NPVariant member{NPVariantType_Void, {}};
  benchmark::DoNotOptimize(object.Get()->_class->getProperty(object.Get(), status, &member));
}

void TellFunction(size_t members) {
  const BareObject object(members);
  NPVariant told{NPVariantType_Object, {}};
  told.value.objectValue = object.Get();
  NPVariant answer{NPVariantType_Void, {}};
  static ListedObject function;
  HostFuncs().invokeDefault(nullptr, &function, &told, 1, &answer);
}

MethodNames::MethodNames() : wanted(Identifier("name17")) {
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
