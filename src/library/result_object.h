/// The two codes that every result object carries.
#pragma once

#include <cstdint>

#include "script/js_object.h"

namespace NorvoWebAPI::KSV {

inline constexpr char kPluginRetCodeKey[] = "pluginRetCode";
inline constexpr char kFnRetCodeKey[] = "fnRetCode";

inline void StorePluginCode(JSObject& result, int32_t code) {
  result[kPluginRetCodeKey] = JSObject(code);
}

/// Stores the library's status, and gives it.
inline int32_t StoreStatus(JSObject& result, int32_t status) {
  result[kFnRetCodeKey] = JSObject(status);
  return status;
}

inline int32_t PluginCodeOf(JSObject& result) {
  return result[kPluginRetCodeKey].ToInt();
}
inline int32_t StatusOf(JSObject& result) {
  return result[kFnRetCodeKey].ToInt();
}

/// Whether a call went through, on the plug-in's side and on the library's.
inline bool WentThrough(JSObject& result) {
  return PluginCodeOf(result) == 0 && StatusOf(result) == 0;
}

}  // namespace NorvoWebAPI::KSV
