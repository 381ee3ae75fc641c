/// The plug-in's objects, as script sees them.
#pragma once

#include <duktape.h>

#include "npapi/npruntime.h"

namespace Kit {

/// Pushes script's view of an object of the plug-in's: it holds a reference until the engine lets go of it.
void PushPluginObject(duk_context* context, NPObject* object);

/// The object behind such a view, with a reference for the caller; null when the value at `index` is none.
NPObject* PluginObjectAt(duk_context* context, duk_idx_t index);

/// `NPN_SetException`: what the call that runs will throw into script.
void SetPluginException(const char* message);

}  // namespace Kit
