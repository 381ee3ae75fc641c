// Stands in front of the real module and starts fetches, which no method of the plug-in's does: an element with a
// parameter "fetch" of "memory URL" or "file URL" has its instance fetch that, and the page's function `fetched` hears
// the URL and how it ended. `refused` hears of each stream that the module did not take. KSV_FETCHING_MODULE names the
// real one.
#include <cstring>
#include <fstream>
#include <iterator>
#include <list>

#include "kit/browser/fronted_module.h"
#include "page/url_networking.h"
#include "platform/system_path.h"

namespace {

NPNetscapeFuncs hostFuncs;
NPPluginFuncs module;

void TellPage(NPP instance, const char* function, const std::string& url, const std::string& text) {
  NPObject* window = nullptr;
  if (hostFuncs.getvalue(instance, NPNVWindowNPObject, static_cast<void*>(&window)) != NPERR_NO_ERROR) return;
  NPVariant args[2]{{NPVariantType_String, {}}, {NPVariantType_String, {}}};
  args[0].value.stringValue = {url.c_str(), static_cast<uint32_t>(url.size())};
  args[1].value.stringValue = {text.c_str(), static_cast<uint32_t>(text.size())};
  NPVariant result{NPVariantType_Void, {}};
  if (hostFuncs.invoke(instance, window, hostFuncs.getstringidentifier(function), args, 2, &result)) {
    hostFuncs.releasevariantvalue(&result);
  }
  hostFuncs.releaseobject(window);
}

// What arrived: its length, and whether each byte is the one that the server put there.
std::string Describe(bool ok, const std::vector<uint8_t>& bytes) {
  size_t right = 0;
  while (right < bytes.size() && bytes[right] == right % 251) ++right;
  return std::string(ok ? "ok " : "failed ") + std::to_string(bytes.size()) +
         (right == bytes.size() ? "" : ", wrong from " + std::to_string(right));
}

class Fetching : public NorvoWebAPI::URLListener {
 public:
  Fetching(NPP npp, std::string address) : instance(npp), url(std::move(address)) {}

  void OnURLData(bool ok, std::shared_ptr<std::vector<uint8_t>> data, void* /*context*/) override {
    TellPage(instance, "fetched", "memory " + url, Describe(ok, *data));
  }
  void OnURLFile(bool ok, const std::string& path, void* /*context*/) override {
    std::ifstream file(SystemPath(path), std::ios::binary);
    TellPage(instance, "fetched", "file " + url,
             file.is_open() ? Describe(ok, {std::istreambuf_iterator<char>(file), {}}) : "failed, no file");
  }

 private:
  NPP instance;
  std::string url;
};

NPError NewInstance(NPMIMEType type, NPP instance, uint16_t mode, int16_t argc, char* argn[], char* argv[],
                    NPSavedData* saved) {
  const NPError made = module.newp(type, instance, mode, argc, argn, argv, saved);
  if (made != NPERR_NO_ERROR) return made;
  // The root of the instance class, reached by its virtual operations alone: the module exports nothing else.
  auto* const network = static_cast<NorvoWebAPI::URLNetworking*>(instance->pdata);
  static auto* const fetches = new std::list<Fetching>;  // Never ended: a fetch may outlast all else.
  for (int16_t i = 0; i < argc; ++i) {
    const char* const space = std::strcmp(argn[i], "fetch") == 0 ? std::strchr(argv[i], ' ') : nullptr;
    if (!space) continue;
    Fetching& fetching = fetches->emplace_back(instance, space + 1);
    const bool started = argv[i][0] == 'f' ? network->GetURLToFile(space + 1, nullptr, &fetching)
                                           : network->GetURLToMemory(space + 1, nullptr, &fetching);
    if (!started) TellPage(instance, "fetched", argv[i], "not started");
  }
  return NPERR_NO_ERROR;
}

NPError NewStream(NPP instance, NPMIMEType type, NPStream* stream, NPBool seekable, uint16_t* stype) {
  const NPError opened = module.newstream(instance, type, stream, seekable, stype);
  if (opened != NPERR_NO_ERROR) TellPage(instance, "refused", stream->url, std::to_string(opened));
  return opened;
}

}  // namespace

KSV_EXPORT NPError NP_Initialize(NPNetscapeFuncs* host, NPPluginFuncs* plugin) {
  const NPError started = Kit::InitializeFronted(host, plugin);
  if (started != NPERR_NO_ERROR) return started;
  hostFuncs = *host;
  module = *plugin;
  plugin->newp = NewInstance;
  plugin->newstream = NewStream;
  return NPERR_NO_ERROR;
}
