#include "shell/plugin.h"

#include <unordered_set>

#include "api/scriptable.h"
#include "foundation/product.h"

template class NorvoWebAPI::NPPlugin<NorvoWebAPI::KSV::Plugin, NorvoWebAPI::KSV::Scriptable>;

namespace NorvoWebAPI::KSV {
namespace {

std::unordered_set<const Plugin*>& LivePlugins() {
  static std::unordered_set<const Plugin*> plugins;
  return plugins;
}

}  // namespace

std::unordered_map<HWND, Plugin*>& PluginWindows() {
  static std::unordered_map<HWND, Plugin*> windows;
  return windows;
}

Plugin::Plugin(NPP instance, const NPNetscapeFuncs* funcs) : NPPlugin(instance, funcs) {
  LivePlugins().insert(this);
  try {
    scriptable = new Scriptable(npp, npnFuncs, this);  // The host's reference count ends it.
  } catch (...) {
    LivePlugins().erase(this);
    throw;
  }
}

Plugin::~Plugin() {
  LivePlugins().erase(this);
  std::erase_if(PluginWindows(), [this](const auto& entry) { return entry.second == this; });
}

Plugin* Plugin::Of(NPP instance) {
  auto* const plugin = static_cast<Plugin*>(instance->pdata);
  return LivePlugins().contains(plugin) ? plugin : nullptr;
}

NPError Plugin::Destroy(NPSavedData** /*saved*/) {
  destroyed = true;
  if (!scriptable) {
    delete this;
    return NPERR_NO_ERROR;
  }
  // A page that goes away without it still gives its initialisations back.
  if (agentInitCount != 0) scriptable->ReleaseAgent();
  return NPERR_NO_ERROR;
}

NPError Plugin::SetWindow(NPWindow* npWindow) {
  if (!npWindow) return NPERR_GENERIC_ERROR;
  window = static_cast<HWND>(npWindow->window);
  PluginWindows()[window] = this;
  return NPERR_NO_ERROR;
}

const char* Plugin::GetPluginName() { return kShortName; }

const char* Plugin::GetPluginDescription() { return kDescription; }

void Plugin::ScriptableEnded() {
  scriptable = nullptr;
  scriptableObject = nullptr;
  // Nothing can reach the object any more once the host has destroyed the instance too.
  if (destroyed) delete this;
}

}  // namespace NorvoWebAPI::KSV
