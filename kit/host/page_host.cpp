#include "kit/host/page_host.h"

#include <utility>

#include "kit/host/complain.h"
#include "kit/host/plugin_objects.h"
#include "kit/host/script_engine.h"

namespace Kit {

PageHost::PageHost(NpHost::Report reportMisuse) : report(std::move(reportMisuse)) {}

NPObject* PageHost::WindowOf(NPP /*instance*/) {
  ScriptEngine* const engine = ScriptEngine::Current();
  return engine ? engine->Window() : nullptr;
}

NPError PageHost::GetUrlNotify(NPP instance, const char* url, const char* target, void* notifyData) {
  Complain("The plug-in asked for " + std::string(url ? url : "nothing") + ": the page host fetches no addresses.");
  return Host::GetUrlNotify(instance, url, target, notifyData);
}

void PageHost::ShowStatus(NPP /*instance*/, const char* message) {
  Complain(std::string("The plug-in's status: ") + message);
}

void PageHost::SetException(NPObject* /*object*/, const char* message) {
  SetPluginException(message);
}

}  // namespace Kit
