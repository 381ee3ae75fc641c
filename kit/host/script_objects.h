/// The page's objects and functions, as the plug-in sees them.
#pragma once

#include <duktape.h>

#include "npapi/npruntime.h"

namespace Kit {

[[nodiscard]] bool IsScriptObject(const NPObject* object);

/// The plug-in's view of the object at `index`, the same as long as it lives, with a reference for the caller.
NPObject* ScriptObjectAt(duk_context* context, duk_idx_t index);
void PushScriptObject(duk_context* context, const NPObject* object);

/// Before the engine ends: what the plug-in still holds of the page answers nothing from now on.
void DetachScriptObjects();

}  // namespace Kit
