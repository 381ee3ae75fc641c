#pragma once

#include <memory>

#include "npapi/npfunctions.h"
#include "script/instance_life.h"
#include "script/js_object.h"

namespace NorvoWebAPI {

/// Makes a read-only script object that shows `value`, with one reference for the caller. It has no methods, refuses
/// writes and can't be listed. Each read of a nested array or object makes a new script object with a copy. It needs no
/// plug-in object and lives until the host's count is 0. Once `life` has ended, nested arrays and objects can't be
/// read: they would need a new object of the host. `value` is no Function. Throws `std::runtime_error` when the host
/// makes no object.
NPObject* MakeScriptView(JSObject value, NPP npp, const NPNetscapeFuncs* npnFuncs,
                         std::shared_ptr<const InstanceLife> life);

}  // namespace NorvoWebAPI
