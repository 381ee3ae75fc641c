/// What the operations of both libraries' wrappers share: the test before a call and the guard around it.
#pragma once

#include <cstdint>
#include <new>

#include "base/result_codes.h"
#include "library/result_object.h"

namespace NorvoWebAPI::KSV {

/// Which failures have a code of their own in an operation; all others give 13.
enum class TellsApart { Nothing, BadAlloc, BadAllocAndCode };

/// The verdict on a binding: 10 without a library, 11 without the entry point, else 0.
inline int32_t BindingCode(bool hasLibrary, bool hasEntryPoint) {
  if (!hasLibrary) return kNoLibrary;
  return hasEntryPoint ? kPluginOk : kNoEntryPoint;
}

/// Stores the start codes, then asks `check` whether the library may be called, and only then does `work`, inside the
/// guard: nothing leaves it, and what `work` stored before it failed stays.
template <typename Check, typename Work>
void RunOperation(int32_t startStatus, Check check, TellsApart tellsApart, JSObject& result, Work work) {
  StorePluginCode(result, kFailed);
  StoreStatus(result, startStatus);
  if (!check()) return;
  try {
    work();
  } catch (const std::bad_alloc&) {
    StorePluginCode(result, tellsApart == TellsApart::Nothing ? kFailed : kOutOfMemory);
  } catch (const CPluginException& failure) {
    StorePluginCode(result, tellsApart == TellsApart::BadAllocAndCode ? failure.pluginRetCode : int32_t{kFailed});
  } catch (...) {
    StorePluginCode(result, kFailed);
  }
}

}  // namespace NorvoWebAPI::KSV
