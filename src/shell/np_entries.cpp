#include "shell/np_entries.h"

#include "api/method_table.h"
#include "page/plugin.h"

namespace NorvoWebAPI::KSV {
namespace {

NPNetscapeFuncs npnFuncs;
bool npnInitialized = false;

constexpr uint16_t kInterfaceVersion = 19;

// The guard of every entry on an instance: `missing` answers for an instance without a plug-in, `failed` for an
// exception.
template <typename Result, typename Operation>
Result OnPlugin(NPP instance, Result missing, Result failed, Operation operation) noexcept {
  try {
    auto* const plugin = instance ? static_cast<Plugin*>(instance->pdata) : nullptr;
    return plugin ? static_cast<Result>(operation(*plugin)) : missing;
  } catch (...) {
    return failed;
  }
}

template <typename Operation>
NPError ErrorOf(NPP instance, Operation operation) noexcept {
  return OnPlugin<NPError>(instance, NPERR_INVALID_INSTANCE_ERROR, NPERR_GENERIC_ERROR, operation);
}

template <typename Operation>
void Notify(NPP instance, Operation operation) noexcept {
  OnPlugin(instance, true, true, [&](Plugin& plugin) {
    operation(plugin);
    return true;
  });
}

NPError NPP_New(NPMIMEType /*type*/, NPP instance, uint16_t /*mode*/, int16_t /*argc*/, char* /*argn*/[],
                char* /*argv*/[], NPSavedData* /*saved*/) {
  if (!instance) return NPERR_INVALID_INSTANCE_ERROR;
  if (!npnInitialized) return NPERR_GENERIC_ERROR;
  try {
    instance->pdata = new Plugin(instance, &npnFuncs, kScriptApi);  // Owned by the host until NPP_Destroy.
    return NPERR_NO_ERROR;
  } catch (...) {
    return NPERR_OUT_OF_MEMORY_ERROR;
  }
}

NPError NPP_Destroy(NPP instance, NPSavedData** saved) {
  if (!instance) return NPERR_INVALID_INSTANCE_ERROR;
  return OnPlugin<NPError>(instance, NPERR_NO_ERROR, NPERR_NO_ERROR, [&](Plugin& plugin) {
    instance->pdata = nullptr;
    plugin.Destroy(saved);
    return NPERR_NO_ERROR;
  });
}

NPError NPP_SetWindow(NPP instance, NPWindow* window) {
  return ErrorOf(instance, [&](Plugin& plugin) { return plugin.SetWindow(window); });
}

NPError NPP_NewStream(NPP instance, NPMIMEType type, NPStream* stream, NPBool seekable, uint16_t* stype) {
  return ErrorOf(instance, [&](Plugin& plugin) { return plugin.NewStream(type, stream, seekable, stype); });
}

NPError NPP_DestroyStream(NPP instance, NPStream* stream, NPReason reason) {
  return ErrorOf(instance, [&](Plugin& plugin) { return plugin.DestroyStream(stream, reason); });
}

void NPP_StreamAsFile(NPP instance, NPStream* stream, const char* fname) {
  Notify(instance, [&](Plugin& plugin) { plugin.StreamAsFile(stream, fname); });
}

int32_t NPP_WriteReady(NPP instance, NPStream* stream) {
  return OnPlugin<int32_t>(instance, 0, 0, [&](Plugin& plugin) { return plugin.WriteReady(stream); });
}

// Data for no instance is taken and dropped, so that the host ends the stream without an error.
int32_t NPP_Write(NPP instance, NPStream* stream, int32_t offset, int32_t len, void* buffer) {
  return OnPlugin(instance, len, len, [&](Plugin& plugin) { return plugin.Write(stream, offset, len, buffer); });
}

void NPP_Print(NPP instance, NPPrint* platformPrint) {
  Notify(instance, [&](Plugin& plugin) { plugin.Print(platformPrint); });
}

int16_t NPP_HandleEvent(NPP instance, void* event) {
  return OnPlugin<int16_t>(instance, 0, 0, [&](Plugin& plugin) { return plugin.HandleEvent(event); });
}

void NPP_URLNotify(NPP instance, const char* url, NPReason reason, void* notifyData) {
  Notify(instance, [&](Plugin& plugin) { plugin.URLNotify(url, reason, notifyData); });
}

NPError NPP_GetValue(NPP instance, NPPVariable variable, void* out) {
  return ErrorOf(instance, [&](Plugin& plugin) { return plugin.GetValue(variable, out); });
}

NPError NPP_SetValue(NPP instance, NPNVariable variable, void* value) {
  return ErrorOf(instance, [&](Plugin& plugin) { return plugin.SetValue(variable, value); });
}

}  // namespace

const NPPluginFuncs& PluginFuncs() {
  static const NPPluginFuncs funcs{
      .size = sizeof(NPPluginFuncs),
      .version = kInterfaceVersion,
      .newp = NPP_New,
      .destroy = NPP_Destroy,
      .setwindow = NPP_SetWindow,
      .newstream = NPP_NewStream,
      .destroystream = NPP_DestroyStream,
      .asfile = NPP_StreamAsFile,
      .writeready = NPP_WriteReady,
      .write = NPP_Write,
      .print = NPP_Print,
      .event = NPP_HandleEvent,
      .urlnotify = NPP_URLNotify,
      .javaClass = nullptr,
      .getvalue = NPP_GetValue,
      .setvalue = NPP_SetValue,
  };
  return funcs;
}

NPError CopyPluginFuncs(NPPluginFuncs* pFuncs) {
  if (!pFuncs || pFuncs->size < sizeof(NPPluginFuncs)) return NPERR_INVALID_FUNCTABLE_ERROR;
  *pFuncs = PluginFuncs();
  return NPERR_NO_ERROR;
}

NPError TakeHostFuncs(const NPNetscapeFuncs* nFuncs) {
  if (!nFuncs) return NPERR_INVALID_FUNCTABLE_ERROR;
  if (nFuncs->version >> 8 > 0) return NPERR_INCOMPATIBLE_VERSION_ERROR;
  if (nFuncs->size < sizeof(NPNetscapeFuncs)) return NPERR_INVALID_FUNCTABLE_ERROR;
  npnFuncs = *nFuncs;
  npnInitialized = true;
  return NPERR_NO_ERROR;
}

}  // namespace NorvoWebAPI::KSV
