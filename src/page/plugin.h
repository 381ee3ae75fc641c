#pragma once

#include <memory>

#include "page/method.h"
#include "page/np_plugin.h"
#include "page/page_life.h"

namespace NorvoWebAPI::KSV {

class Scriptable;
class Plugin;

}  // namespace NorvoWebAPI::KSV

// Instantiated in plugin.cpp alone, where the scriptable class is known.
extern template class NorvoWebAPI::NPPlugin<NorvoWebAPI::KSV::Plugin, NorvoWebAPI::KSV::Scriptable>;

namespace NorvoWebAPI::KSV {

/// One embedded object, from `NPP_New` to `NPP_Destroy`. It makes the page's `Scriptable` and shares its ownership with
/// the host's object, which may outlive the instance. The browser's thread only.
class Plugin : public NPPlugin<Plugin, Scriptable> {
 public:
  /// `api` must outlive the page's object. Throws what the construction of a `Scriptable` throws.
  Plugin(NPP instance, const NPNetscapeFuncs* funcs, const ScriptApi& api);

  /// Ends the page and deletes this object.
  NPError Destroy(NPSavedData** saved) override;
  NPError SetWindow(NPWindow* npWindow) override;
  const char* GetPluginName() override;
  const char* GetPluginDescription() override;
  std::shared_ptr<Scriptable> GetScriptable() override { return scriptable; }

 private:
  std::shared_ptr<PageLife> life;
  std::shared_ptr<Scriptable> scriptable;
};

}  // namespace NorvoWebAPI::KSV
