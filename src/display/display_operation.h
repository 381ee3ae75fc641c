/// What the sources of `CKSVPluginWYS` share: the frame of its operations.
#pragma once

#include "display/cksv_plugin_wys.h"

namespace NorvoWebAPI::KSV {

template <typename Work>
bool CKSVPluginWYS::Run(const EntryTable::Row& entryPoint, JSObject& result, Work work) {
  RunOperation(
      kDisplayNotCalled, [&] { return CheckEntry(entryPoint, result); }, TellsApart::Nothing, result, work);
  return true;
}

template <typename... Parameters, typename... Arguments>
bool CKSVPluginWYS::RunCall(const EntryTable::Entry<int32_t(Parameters...)>& entryPoint, JSObject& result,
                            Arguments... arguments) {
  return Run(entryPoint, result, [&] { StoreStatus(result, entryPoint(arguments...)); });
}

}  // namespace NorvoWebAPI::KSV
