#include "display/cksv_plugin_wys.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <utility>

#include "display/display_operation.h"
#include "storage/settings.h"

namespace NorvoWebAPI::KSV {

CKSVPluginWYS::CKSVPluginWYS(std::string platform) : platformName(std::move(platform)) {
  try {
    BindLibrary();
  } catch (...) {
    library.Reset();
  }
}

void CKSVPluginWYS::BindLibrary() {
  LibraryPath folder;
  if (!folder.ReadLoadFolder()) return;
  library = LoadFirst(folder, kDisplayFiles).library;
  // All entry points are required.
  if (library && !entries.Bind(library.Get()).empty()) library.Reset();
}

bool CKSVPluginWYS::CheckEntry(const EntryTable::Row& entryPoint, Outcome& outcome) const {
  outcome.pluginCode = BindingCode(static_cast<bool>(library), static_cast<bool>(entryPoint));
  return outcome.pluginCode == kPluginOk;
}

Outcome CKSVPluginWYS::Init(int32_t initValue, const char* initText, uint32_t* displayContext) {
  return Run(entries.Init, [&](Outcome& outcome) {
    outcome.status = entries.Init(initValue, initText, displayContext);
    if (outcome.status == kDisplayOk) hasImage = false;
  });
}

Outcome CKSVPluginWYS::DeInit(uint32_t displayContext) {
  return Run(entries.DeInit, [&](Outcome& outcome) {
    outcome.status = entries.DeInit(displayContext);
    hasImage = false;
  });
}

Outcome CKSVPluginWYS::GetVersion(JSObject& result) {
  return Run(entries.GetVersion, [&](Outcome& outcome) {
    uint32_t version = 0;
    outcome.status = entries.GetVersion(&version);
    if (outcome.status == kDisplayOk) result["version"] = JSObject(static_cast<int32_t>(version));
  });
}

Outcome CKSVPluginWYS::StatusToString(uint32_t statusCode, JSObject& result) {
  return Run(entries.StatusToString, [&](Outcome& outcome) {
    std::array<WCHAR, 256> wide{};
    std::array<char, 128> narrow{};
    outcome.status = entries.StatusToString(wide.data(), static_cast<uint32_t>(wide.size()), statusCode);
    wide.back() = 0;
    // _TRUNCATE: with any other count a longer text would end the process.
    size_t converted = 0;
    if (wcstombs_s(&converted, narrow.data(), narrow.size(), wide.data(), _TRUNCATE) == EILSEQ) narrow.front() = 0;
    result["status"] = JSObject(narrow.data());
  });
}

}  // namespace NorvoWebAPI::KSV
