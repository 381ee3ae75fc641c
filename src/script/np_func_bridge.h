#pragma once

#include <memory>
#include <vector>

#include "npapi/npfunctions.h"
#include "script/js_object.h"

namespace NorvoWebAPI::NPJSConverter {

/// A page's function as a native one. Holds one reference on it; held itself by `shared_ptr`, so that a call outlives
/// the slot that it came from. The browser's thread only.
class NPFuncBridge : public std::enable_shared_from_this<NPFuncBridge> {
 public:
  /// Throws `std::bad_typeid` without a table or an object, and for an object of this module's own.
  NPFuncBridge(NPP npp, const NPNetscapeFuncs* npnFuncs, NPObject* object);
  NPFuncBridge(const NPFuncBridge&) = delete;
  NPFuncBridge& operator=(const NPFuncBridge&) = delete;
  ~NPFuncBridge();

  /// Calls the page's function. False when the host refuses or a value can't cross the border; never throws.
  bool Call(std::vector<JSObject>& args, JSObject& result) { return function.Call(args, result); }
  /// The same for a page whose answer nobody wants: it is not read, which could run more of the page's script.
  void Notify(std::vector<JSObject>& args) { CallEntry(this, &args, nullptr); }

 private:
  static bool CallEntry(void* context, std::vector<JSObject>* args, JSObject* result);
  bool CallHost(const std::vector<JSObject>& args, JSObject* result);

  NPP npp;
  const NPNetscapeFuncs* npnFuncs;
  NPObject* object;
  JSObject function;  ///< A Function whose context is this bridge.
};

}  // namespace NorvoWebAPI::NPJSConverter
