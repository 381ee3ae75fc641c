#include "shell/exports.h"

#include "base/product.h"
#include "registration/registration.h"
#include "shell/np_entries.h"

using namespace NorvoWebAPI::KSV;

namespace {

// What the installer is told: nothing of what fails in there may end its process.
template <typename Work>
UINT ResultOf(Work work) {
  try {
    work();
    return 0;
  } catch (...) {
    return 1;
  }
}

}  // namespace

KSV_EXPORT(NPError) NP_GetEntryPoints(NPPluginFuncs* pFuncs) {
  return CopyPluginFuncs(pFuncs);
}

#ifdef _WIN32

KSV_EXPORT(NPError) NP_Initialize(NPNetscapeFuncs* nFuncs) {
  return TakeHostFuncs(nFuncs);
}

#else

KSV_EXPORT(NPError) NP_Initialize(NPNetscapeFuncs* nFuncs, NPPluginFuncs* pFuncs) {
  const NPError taken = TakeHostFuncs(nFuncs);
  return taken == NPERR_NO_ERROR ? CopyPluginFuncs(pFuncs) : taken;
}

KSV_EXPORT(const char*) NP_GetMIMEDescription() {
  return kMimeDescription;
}

KSV_EXPORT(NPError) NP_GetValue(void* /*future*/, NPPVariable variable, void* value) {
  if (!value) return NPERR_GENERIC_ERROR;
  switch (variable) {
    case NPPVpluginNameString:
      *static_cast<const char**>(value) = kShortName;
      return NPERR_NO_ERROR;
    case NPPVpluginDescriptionString:
      *static_cast<const char**>(value) = kDescription;
      return NPERR_NO_ERROR;
    default:
      return NPERR_GENERIC_ERROR;
  }
}

#endif

// Does nothing: instances may still exist, and browsers may call `NP_Initialize` again.
KSV_EXPORT(NPError) NP_Shutdown() {
  return NPERR_NO_ERROR;
}

KSV_EXPORT(NPError) NP_SetWindow(NPP instance, NPWindow* window) {
  return PluginFuncs().setwindow(instance, window);
}

KSV_EXPORT(int16_t) NP_HandleEvent(NPP instance, void* event) {
  return PluginFuncs().event(instance, event);
}

KSV_EXPORT(UINT) RegisterNPAPIPlugin(MSIHANDLE installation) {
  return ResultOf([&] { Registration::RegisterModule(Registration::ReadInstallerFolder(installation)); });
}

KSV_EXPORT(UINT) RegisterNPAPIPluginWithPath(const char* folder) {
  return folder ? ResultOf([&] { Registration::RegisterModule(folder); }) : 1;
}

KSV_EXPORT(UINT) UnregisterNPAPIPlugin(MSIHANDLE /*installation*/) {
  return UnregisterNPAPIPluginNoParam();
}

// Returns 0 even if the registration can't be removed, so that it does not stop an uninstallation.
KSV_EXPORT(UINT) UnregisterNPAPIPluginNoParam() {
  ResultOf([] { Registration::UnregisterModule(); });
  return 0;
}
