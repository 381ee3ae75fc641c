/// The module's exports, undecorated. They are `__stdcall` where that is another convention than the usual one.
#pragma once

#include "npapi/npfunctions.h"
#include "platform/win32.h"

#ifdef _WIN32
#define KSV_EXPORT(type) type __stdcall
#else
#define KSV_EXPORT(type) __attribute__((visibility("default"))) type
#endif

extern "C" {

KSV_EXPORT(NPError) NP_GetEntryPoints(NPPluginFuncs* pFuncs);
#ifdef _WIN32
KSV_EXPORT(NPError) NP_Initialize(NPNetscapeFuncs* nFuncs);
#else
/// On X11 a browser asks for the plug-in's table here, and for what a version resource tells elsewhere below.
KSV_EXPORT(NPError) NP_Initialize(NPNetscapeFuncs* nFuncs, NPPluginFuncs* pFuncs);
KSV_EXPORT(const char*) NP_GetMIMEDescription();
KSV_EXPORT(NPError) NP_GetValue(void* future, NPPVariable variable, void* value);
#endif
KSV_EXPORT(NPError) NP_Shutdown();
KSV_EXPORT(NPError) NP_SetWindow(NPP instance, NPWindow* window);
KSV_EXPORT(int16_t) NP_HandleEvent(NPP instance, void* event);

/// For the installer's process. The first two give 0, or 1 when browsers can't be told where the module lies; the
/// folder is a deferred custom action's data, or given, and ends in a backslash. The last two give 0 always.
KSV_EXPORT(UINT) RegisterNPAPIPlugin(MSIHANDLE installation);
KSV_EXPORT(UINT) RegisterNPAPIPluginWithPath(const char* folder);
KSV_EXPORT(UINT) UnregisterNPAPIPlugin(MSIHANDLE installation);
KSV_EXPORT(UINT) UnregisterNPAPIPluginNoParam();

}  // extern "C"
