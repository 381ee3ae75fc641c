/// The module's exports, with undecorated names; `__stdcall` on 32-bit Windows.
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
/// On X11 a browser passes both tables to `NP_Initialize`, and reads by the next two what it takes from the version
/// resource on Windows.
KSV_EXPORT(NPError) NP_Initialize(NPNetscapeFuncs* nFuncs, NPPluginFuncs* pFuncs);
KSV_EXPORT(const char*) NP_GetMIMEDescription();
KSV_EXPORT(NPError) NP_GetValue(void* future, NPPVariable variable, void* value);
#endif
KSV_EXPORT(NPError) NP_Shutdown();
KSV_EXPORT(NPError) NP_SetWindow(NPP instance, NPWindow* window);
KSV_EXPORT(int16_t) NP_HandleEvent(NPP instance, void* event);

/// For the installer. The first two register the module in a folder, whose path ends in a backslash: the data of a
/// deferred custom action, or the argument. They return 0, or 1 if that fails. The last two remove the registration and
/// always return 0.
KSV_EXPORT(UINT) RegisterNPAPIPlugin(MSIHANDLE installation);
KSV_EXPORT(UINT) RegisterNPAPIPluginWithPath(const char* folder);
KSV_EXPORT(UINT) UnregisterNPAPIPlugin(MSIHANDLE installation);
KSV_EXPORT(UINT) UnregisterNPAPIPluginNoParam();

}  // extern "C"
