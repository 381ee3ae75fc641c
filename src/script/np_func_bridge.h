#pragma once

#include <memory>
#include <vector>

#include "npapi/npfunctions.h"
#include "script/instance_life.h"
#include "script/js_object.h"

namespace NorvoWebAPI::NPJSConverter {

/// A page's function that native code can call. Owns one reference on it. Always owned by `shared_ptr`: a call keeps
/// the bridge alive, because the page may set another function inside the call. The browser's thread only.
class NPFuncBridge : public std::enable_shared_from_this<NPFuncBridge> {
 public:
  /// Throws `std::bad_typeid` for a null table or object, and for an object of this module; `std::runtime_error` for an
  /// instance that has ended.
  NPFuncBridge(NPP npp, const NPNetscapeFuncs* npnFuncs, NPObject* object, std::shared_ptr<const InstanceLife> life);
  NPFuncBridge(const NPFuncBridge&) = delete;
  NPFuncBridge& operator=(const NPFuncBridge&) = delete;
  ~NPFuncBridge();

  /// Calls the page's function. False when the host refuses, a value can't be converted or the instance has ended;
  /// never throws.
  bool Call(std::vector<JSObject>& args, JSObject& result) { return function.Call(args, result); }

 private:
  static bool CallEntry(void* context, std::vector<JSObject>* args, JSObject* result);
  bool CallHost(const std::vector<JSObject>& args, JSObject& result);

  NPP npp;
  const NPNetscapeFuncs* npnFuncs;
  NPObject* object;
  std::shared_ptr<const InstanceLife> life;
  JSObject function;  ///< A Function whose context is this bridge.
};

}  // namespace NorvoWebAPI::NPJSConverter
