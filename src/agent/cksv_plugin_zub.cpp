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
    // The object stands with what was done so far; its operations report what they find.
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

bool CKSVPluginZUB::CheckEntry(const EntryTable::Row& entryPoint, JSObject& result) const {
  return CheckGate(static_cast<bool>(entryPoint), result);
}

bool CKSVPluginZUB::CheckEither(const EntryTable::Row& first, const EntryTable::Row& second, JSObject& result) const {
  return CheckGate(first || second, result);
}

bool CKSVPluginZUB::CheckGate(bool hasEntryPoint, JSObject& result) const {
  const int32_t code =
      Platform::IsUpdateOverdue(platformName) ? kUpdateOverdue : BindingCode(static_cast<bool>(library), hasEntryPoint);
  StorePluginCode(result, code);
  return code == kPluginOk;
}

bool CKSVPluginZUB::Init(JSObject& result) {
  return RunChecked(
      "Init", kAgentNotCalled,
      [&] {
        DebugLog(logEnabled, kAgentLogTag, "%s: %s\n", "Running Norvo KSV Plugin version: ", kVersion);
        return CheckEntry(entries.Init, result);
      },
      TellsApart::Nothing, result, [&] { StoreStatus(result, entries.Init()); });
}

bool CKSVPluginZUB::Deinit(JSObject& result) {
  return Run("Deinit", entries.DeInit, TellsApart::Nothing, result, [&] { StoreStatus(result, entries.DeInit()); });
}

}  // namespace NorvoWebAPI::KSV
