/// What the sources of `CKSVPluginWYS` share: the frame of its operations.
#pragma once

#include "display/cksv_plugin_wys.h"

namespace NorvoWebAPI::KSV {

template <typename Work>
Outcome CKSVPluginWYS::Run(const EntryTable::Row& entryPoint, Work work) {
  return RunOperation(
      kDisplayNotCalled, CodedExceptions::None, [&](Outcome& outcome) { return CheckEntry(entryPoint, outcome); },
      work);
}

template <typename... Parameters, typename... Arguments>
Outcome CKSVPluginWYS::RunCall(const EntryTable::Entry<int32_t(Parameters...)>& entryPoint, Arguments... arguments) {
  return Run(entryPoint, [&](Outcome& outcome) { outcome.status = entryPoint(arguments...); });
}

}  // namespace NorvoWebAPI::KSV
