/// The module's exports, undecorated. They are `__stdcall` where that is another convention than the usual one.
#pragma once

#include "npapi/npfunctions.h"

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

}  // extern "C"
