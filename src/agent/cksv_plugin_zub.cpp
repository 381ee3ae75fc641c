#include "agent/cksv_plugin_zub.h"

#include <utility>

#include "agent/agent_operation.h"
#include "base/product.h"
#include "storage/settings.h"
#include "storage/update_gate.h"

namespace NorvoWebAPI::KSV {

CKSVPluginZUB::CKSVPluginZUB(std::string platform) : platformName(std::move(platform)) {
  try {
    BindLibrary();
    logEnabled = GetLogLevel() > 0;
  } catch (...) {
    // The object keeps what was bound so far; its operations report what is missing.
  }
}

void CKSVPluginZUB::BindLibrary() {
  LibraryPath folder;
  if (!folder.ReadLoadFolder()) return;
  FoundLibrary found = LoadFirst(folder, kAgentFiles);
  library = std::move(found.library);
  isOtpLibrary = library && found.place > 0;
  if (library) entries.Bind(library.Get());
}

bool CKSVPluginZUB::CheckEntry(const EntryTable::Row& entryPoint, Outcome& outcome) const {
  return CheckAnyEntry(static_cast<bool>(entryPoint), outcome);
}

bool CKSVPluginZUB::CheckAnyEntry(bool hasEntryPoint, Outcome& outcome) const {
  outcome.pluginCode =
      Platform::IsUpdateOverdue(platformName) ? kUpdateOverdue : BindingCode(static_cast<bool>(library), hasEntryPoint);
  return outcome.pluginCode == kPluginOk;
}

Outcome CKSVPluginZUB::Init() {
  const auto check = [&](Outcome& outcome) {
    DebugLog(logEnabled, kAgentLogTag, "%s: %s\n", "Running Norvo KSV Plugin version: ", kVersion);
    return CheckEntry(entries.Init, outcome);
  };
  return RunChecked("Init", kAgentNotCalled, CodedExceptions::None, check,
                    [&](Outcome& outcome) { outcome.status = entries.Init(); });
}

Outcome CKSVPluginZUB::Deinit() {
  return Run("Deinit", entries.DeInit, CodedExceptions::None,
             [&](Outcome& outcome) { outcome.status = entries.DeInit(); });
}

}  // namespace NorvoWebAPI::KSV
