#include "page/plugin.h"

#include <mutex>
#include <unordered_set>
#include <utility>

#include "base/product.h"
#include "hooks/event_delivery.h"
#include "hooks/event_template.h"
#include "hooks/input_hooks.h"
#include "page/plugin_windows.h"
#include "page/scriptable.h"
#include "script/instance_watch.h"

template class NorvoWebAPI::NPPlugin<NorvoWebAPI::KSV::Plugin, NorvoWebAPI::KSV::Scriptable>;

namespace NorvoWebAPI::KSV {
namespace {

// Pages come and go on the browser's thread; the library's threads ask whether one still lives.
struct LivePlugins {
  std::mutex mutex;
  std::unordered_set<const void*> plugins;
};

LivePlugins& Live() {
  static auto* const live = new LivePlugins;  // Never ended: a thread of the library may come after everything else.
  return *live;
}

void EnterLive(const Plugin* plugin) {
  const std::lock_guard lock(Live().mutex);
  Live().plugins.insert(plugin);
}

void LeaveLive(const Plugin* plugin) {
  const std::lock_guard lock(Live().mutex);
  Live().plugins.erase(plugin);
}

}  // namespace

Plugin::Plugin(NPP instance, const NPNetscapeFuncs* funcs) : NPPlugin(instance, funcs) {
  EnterLive(this);
  try {
    scriptable = new Scriptable(npp, npnFuncs, this);  // The host's reference count ends it.
  } catch (...) {
    LeaveLive(this);
    throw;
  }
}

Plugin::~Plugin() {
  EventTemplate::ForgetPlugin(this);
  LeaveLive(this);
  LeaveWindows();  // A host may have given one since the object ended.
}

void Plugin::LeaveWindows() {
  RemovePluginWindows(this);
  if (!HasPluginWindows()) RemoveDisplayHooks();
}

Plugin* Plugin::Of(NPP instance) {
  auto* const plugin = static_cast<Plugin*>(instance->pdata);
  const std::lock_guard lock(Live().mutex);
  return Live().plugins.contains(plugin) && plugin->npp == instance ? plugin : nullptr;
}

std::string Plugin::InstanceName(const void* page, uint32_t instanceId) {
  const std::lock_guard lock(Live().mutex);
  if (!Live().plugins.contains(page)) return {};
  return static_cast<const Plugin*>(page)->instanceMap.NameOf(instanceId);
}

NPError Plugin::Destroy(NPSavedData** /*saved*/) {
  if (destroyed) return NPERR_NO_ERROR;
  destroyed = true;
  if (scriptable) {
    scriptable->Display().EndPage();
    ForgetPress(*scriptable);
  }
  InstanceWatch::End(npp);
  const Entry running(*this);
  EndFetches();
  if (scriptable) ReleaseLibraries();
  EventTemplate::ForgetPlugin(this);
  return NPERR_NO_ERROR;
}

// One initialisation of each library is given back for a page that goes away, whichever page made it.
void Plugin::ReleaseLibraries() {
  const ScriptDispatch::Call calling(*scriptable);
  // The flag is one for both libraries. What a page owes one of them sets it for that one's release alone: the other
  // may have cleared it, or may be another page's by now.
  const bool stood = initialised;
  initialised = agentInitialisations.Settle(*this) || stood;
  if (agentInitCount != 0) scriptable->ReleaseAgent();
  initialised = displayInitialisations.Settle(*this) || (stood && initialised);
  if (displayInitCount != 0) scriptable->ReleaseDisplay();
}

NPError Plugin::SetWindow(NPWindow* npWindow) {
  if (!npWindow) return NPERR_GENERIC_ERROR;
  const HWND given = static_cast<HWND>(npWindow->window);
  const HWND left = window.exchange(given);
  // A window that is gone gives back no message that it took.
  if (left && left != given && !IsWindow(left)) DropEventsTo(left);
  EnterPluginWindow(given, this);
  return NPERR_NO_ERROR;
}

const char* Plugin::GetPluginName() {
  return kShortName;
}

const char* Plugin::GetPluginDescription() {
  return kDescription;
}

void Plugin::ScriptableEnded() {
  scriptable = nullptr;
  EndIfDone();
}

// Nothing can reach the object any more once the host has let go of both halves.
void Plugin::EndIfDone() {
  if (!destroyed || runningEntries > 0) return;
  if (!scriptable) {
    delete this;
  } else if (!handedOver) {
    // What no page ever asked for has no record of the host's to end it; its end comes back here.
    scriptable->Deallocate();
  }
}

}  // namespace NorvoWebAPI::KSV
