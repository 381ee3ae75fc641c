#pragma once

#include <memory>

#include "npapi/npfunctions.h"
#include "script/instance_life.h"
#include "script/js_object.h"

namespace NorvoWebAPI {

/// A script object, with one reference for the caller, whose reads go into `value`. It has no methods, refuses writes
/// and can't be listed; nested values are wrapped anew, over a copy, at each read. It depends on no plug-in object and
/// lives by the host's count. Once `life` has ended, nested values can't be read: they would need a new object of the
/// host's. Throws `std::invalid_argument` for a Function, `std::runtime_error` when the host makes
/// no object.
NPObject* MakeScriptView(JSObject value, NPP npp, const NPNetscapeFuncs* npnFuncs,
                         std::shared_ptr<const InstanceLife> life);

}  // namespace NorvoWebAPI
