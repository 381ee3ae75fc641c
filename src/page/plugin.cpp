#include "page/plugin.h"

#include "base/product.h"
#include "page/plugin_windows.h"
#include "page/scriptable.h"

template class NorvoWebAPI::NPPlugin<NorvoWebAPI::KSV::Plugin, NorvoWebAPI::KSV::Scriptable>;

namespace NorvoWebAPI::KSV {

Plugin::Plugin(NPP instance, const NPNetscapeFuncs* funcs, const ScriptApi& api)
    : NPPlugin(instance, funcs),
      life(std::make_shared<PageLife>()),
      scriptable(std::make_shared<Scriptable>(npp, npnFuncs, life, api)) {
  life->scriptable = scriptable;
}

NPError Plugin::Destroy(NPSavedData** saved) {
  life->End();
  scriptable->Api().onPageEnd(*scriptable);
  // The reference stays with the host's object: it lives until the host deallocates it.
  scriptableObject = nullptr;
  return NPPlugin::Destroy(saved);
}

NPError Plugin::SetWindow(NPWindow* npWindow) {
  if (!npWindow) return NPERR_GENERIC_ERROR;
  const HWND window = static_cast<HWND>(npWindow->window);
  life->window = window;
  InsertPluginWindow(window, life);
  return NPERR_NO_ERROR;
}

const char* Plugin::GetPluginName() {
  return kShortName;
}

const char* Plugin::GetPluginDescription() {
  return kDescription;
}

}  // namespace NorvoWebAPI::KSV
