#include "benchmarks/bench_host.h"

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "shell/exports.h"

namespace Bench {
namespace {

class BenchHost : public NpHost::Host {
 public:
  BenchHost() : Host(NpHost::Accounts::None) {}

 private:
  NPObject* WindowOf(NPP /*instance*/) override { return nullptr; }
  void ReportMisuse(const std::string& misuse) override { throw std::logic_error(misuse); }
};

NpHost::Host& TheHost() {
  static BenchHost host;
  return host;
}

bool Enumerate(NPObject* object, NPIdentifier** ids, uint32_t* count) {
  const auto& listed = *static_cast<ListedObject*>(object);
  const size_t size = listed.ids.size() * sizeof(NPIdentifier);
  *ids = static_cast<NPIdentifier*>(TheHost().Allocate(size));
  std::memcpy(*ids, listed.ids.data(), size);
  *count = static_cast<uint32_t>(listed.ids.size());
  return true;
}

// Members are read in the order in which they were listed, as conversions do.
bool GetProperty(NPObject* object, NPIdentifier id, NPVariant* result) {
  static size_t next = 0;
  const auto& listed = *static_cast<ListedObject*>(object);
  if (next >= listed.ids.size() || listed.ids[next] != id) next = 0;
  *result = listed.values[next++];
  return true;
}

NPClass& ListedClass() {
  static NPClass table = [] {
    NPClass entries{};
    entries.deallocate = [](NPObject*) {};  // The benchmark owns the object.
    entries.invokeDefault = [](NPObject*, const NPVariant*, uint32_t, NPVariant*) {
      ++functionCalls;
      return true;
    };
    entries.getProperty = GetProperty;
    entries.enumerate = Enumerate;
    return entries;
  }();
  return table;
}

void WriteFile(const std::filesystem::path& path, const std::string& text) {
  std::filesystem::create_directories(path.parent_path());
  std::ofstream(path) << text;
}

// The module is the program's own. It finds its settings and its update when it starts.
NpHost::ModuleEntries PrepareModule() {
  const std::filesystem::path folder = std::filesystem::path(KSV_AGENT_FOLDER).parent_path() / "surroundings";
  std::filesystem::remove_all(folder);
  WriteFile(folder / "registry.json",
            R"({"HKEY_LOCAL_MACHINE": {"Software": {"Norvo": {"Services": {"KSV": {"FILELOCALE": ")" KSV_AGENT_FOLDER
            R"("}}}}}})");
  WriteFile(folder / "LocalLow/Norvo/webapi/lastUpdatewin32-npapi", std::to_string(std::time(nullptr)));
  setenv("KSV_REGISTRY", (folder / "registry.json").c_str(), 1);
  setenv("KSV_AGENT_HOME", (folder / "agent").c_str(), 1);
  setenv("AppData", folder.c_str(), 1);
  return {NP_GetEntryPoints, NP_Initialize, NP_Shutdown};
}

}  // namespace

ListedObject::ListedObject() : NPObject{&ListedClass(), 0} {}

const NPNetscapeFuncs& HostFuncs() {
  static const NPNetscapeFuncs& funcs = TheHost().Funcs();
  return funcs;
}

size_t functionCalls = 0;

Page& ThePage() {
  static Page page;
  return page;
}

NPIdentifier Identifier(const std::string& name) {
  return TheHost().Id(name);
}

NPVariant Number(double value) {
  NPVariant variant{NPVariantType_Double, {}};
  variant.value.doubleValue = value;
  return variant;
}

NPVariant Text(const std::string& value) {
  NPVariant variant{NPVariantType_String, {}};
  variant.value.stringValue = {value.c_str(), static_cast<uint32_t>(value.size())};
  return variant;
}

Page::Page()
    : module(PrepareModule(), TheHost().Funcs()),
      instance(TheHost(), module.Funcs(), TheHost().AddInstance(), ""),
      object(instance.Scriptable()) {}

int32_t Page::Call(NPIdentifier method, const std::vector<NPVariant>& args) {
  NPVariant result{NPVariantType_Void, {}};
  if (!object->_class->invoke(object, method, args.data(), static_cast<uint32_t>(args.size()), &result)) {
    throw std::runtime_error("The call failed");
  }
  NPVariant status{NPVariantType_Void, {}};
  NPObject* const answer = result.value.objectValue;
  static const NPIdentifier statusKey = Identifier("fnRetCode");
  if (!answer->_class->getProperty(answer, statusKey, &status)) {
    throw std::runtime_error("The result has no status");
  }
  TheHost().Release(result);
  return status.value.intValue;
}

}  // namespace Bench
