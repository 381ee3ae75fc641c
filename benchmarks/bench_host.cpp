#include "benchmarks/bench_host.h"

#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <unordered_map>

#include "shell/exports.h"

namespace Bench {
namespace {

using Names = std::unordered_map<std::string, std::unique_ptr<std::string>>;

NPIdentifier Intern(const NPUTF8* name) {
  static Names names;
  std::unique_ptr<std::string>& entry = names[name];
  if (!entry) entry = std::make_unique<std::string>(name);
  return entry.get();
}

NPUTF8* TextOf(NPIdentifier id) {
  return strdup(static_cast<std::string*>(id)->c_str());
}

NPObject* CreateObject(NPP instance, NPClass* aClass) {
  NPObject* const object = aClass->allocate(instance, aClass);
  object->referenceCount = 1;
  return object;
}

NPObject* Retain(NPObject* object) {
  ++object->referenceCount;
  return object;
}

void Release(NPObject* object) {
  if (--object->referenceCount == 0 && object->_class) object->_class->deallocate(object);
}

void ReleaseVariant(NPVariant* variant) {
  if (variant->type == NPVariantType_String) std::free(const_cast<NPUTF8*>(variant->value.stringValue.UTF8Characters));
  if (variant->type == NPVariantType_Object) Release(variant->value.objectValue);
  variant->type = NPVariantType_Void;
}

bool Enumerate(NPP /*instance*/, NPObject* object, NPIdentifier** ids, uint32_t* count) {
  const auto& listed = *static_cast<ListedObject*>(object);
  const size_t size = listed.ids.size() * sizeof(NPIdentifier);
  *ids = static_cast<NPIdentifier*>(std::malloc(size));
  std::memcpy(*ids, listed.ids.data(), size);
  *count = static_cast<uint32_t>(listed.ids.size());
  return true;
}

// Members are read in the order in which they were listed, as conversions do.
bool GetProperty(NPP /*instance*/, NPObject* object, NPIdentifier id, NPVariant* result) {
  static size_t next = 0;
  const auto& listed = *static_cast<ListedObject*>(object);
  if (next >= listed.ids.size() || listed.ids[next] != id) next = 0;
  *result = listed.values[next++];
  return true;
}

void WriteFile(const std::filesystem::path& path, const std::string& text) {
  std::filesystem::create_directories(path.parent_path());
  std::ofstream(path) << text;
}

void PrepareSurroundings() {
  const std::filesystem::path folder = std::filesystem::path(KSV_AGENT_FOLDER).parent_path() / "surroundings";
  std::filesystem::remove_all(folder);
  WriteFile(folder / "registry.json",
            R"({"HKEY_LOCAL_MACHINE": {"Software": {"Norvo": {"Services": {"KSV": {"FILELOCALE": ")" KSV_AGENT_FOLDER
            R"("}}}}}})");
  WriteFile(folder / "LocalLow/Norvo/webapi/lastUpdatewin32-npapi", std::to_string(std::time(nullptr)));
  setenv("KSV_REGISTRY", (folder / "registry.json").c_str(), 1);
  setenv("KSV_AGENT_HOME", (folder / "agent").c_str(), 1);
  setenv("AppData", folder.c_str(), 1);
}

}  // namespace

const NPNetscapeFuncs& HostFuncs() {
  static const NPNetscapeFuncs funcs = [] {
    NPNetscapeFuncs table{};
    table.size = sizeof table;
    table.memalloc = [](uint32_t size) { return std::malloc(size); };
    table.memfree = [](void* memory) { std::free(memory); };
    table.getstringidentifier = Intern;
    table.identifierisstring = [](NPIdentifier) { return true; };
    table.utf8fromidentifier = TextOf;
    table.createobject = CreateObject;
    table.retainobject = Retain;
    table.releaseobject = Release;
    table.releasevariantvalue = ReleaseVariant;
    table.invokeDefault = [](NPP, NPObject*, const NPVariant*, uint32_t, NPVariant*) {
      ++functionCalls;
      return true;
    };
    table.enumerate = Enumerate;
    table.getproperty = GetProperty;
    return table;
  }();
  return funcs;
}

size_t functionCalls = 0;

Page& ThePage() {
  static Page page;
  return page;
}

NPIdentifier Identifier(const std::string& name) {
  return Intern(name.c_str());
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

Page::Page() {
  PrepareSurroundings();
  NPNetscapeFuncs host = HostFuncs();
  NPPluginFuncs plugin{};
  plugin.size = sizeof plugin;
  if (NP_Initialize(&host, &plugin) != NPERR_NO_ERROR ||
      plugin.newp(nullptr, &instance, NP_EMBED, 0, nullptr, nullptr, nullptr) != NPERR_NO_ERROR ||
      plugin.getvalue(&instance, NPPVpluginScriptableNPObject, &object) != NPERR_NO_ERROR) {
    throw std::runtime_error("The plug-in did not start");
  }
}

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
  ReleaseVariant(&result);
  return status.value.intValue;
}

}  // namespace Bench
