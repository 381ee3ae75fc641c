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
  // Half a library is none: the pages of this one know no other version than the whole.
  if (library && !entries.Bind(library.Get()).empty()) library.Reset();
}

void CKSVPluginWYS::ForgetImage(const std::shared_ptr<const ImageDescriptor>& described) {
  if (image == described) image.reset();
}

bool CKSVPluginWYS::CheckEntry(const EntryTable::Row& entryPoint, JSObject& result) const {
  const int32_t code = BindingCode(static_cast<bool>(library), static_cast<bool>(entryPoint));
  StorePluginCode(result, code);
  return code == kPluginOk;
}

bool CKSVPluginWYS::Init(int32_t initValue, const char* initText, uint32_t* displayContext, JSObject& result) {
  return Run(entries.Init, result, [&] {
    if (StoreStatus(result, entries.Init(initValue, initText, displayContext)) == kDisplayOk) hasImage = false;
  });
}

bool CKSVPluginWYS::DeInit(uint32_t displayContext, JSObject& result) {
  return Run(entries.DeInit, result, [&] {
    hasImage = false;
    const auto described = image;
    if (StoreStatus(result, entries.DeInit(displayContext)) == kDisplayOk) ForgetImage(described);
  });
}

bool CKSVPluginWYS::GetVersion(JSObject& result) {
  return Run(entries.GetVersion, result, [&] {
    uint32_t version = 0;
    if (StoreStatus(result, entries.GetVersion(&version)) == kDisplayOk) {
      result["version"] = JSObject(static_cast<int32_t>(version));
    }
  });
}

bool CKSVPluginWYS::StatusToString(uint32_t statusCode, JSObject& result) {
  return Run(entries.StatusToString, result, [&] {
    std::array<WCHAR, 256> wide{};
    std::array<char, 128> narrow{};
    StoreStatus(result, entries.StatusToString(wide.data(), static_cast<uint32_t>(wide.size()), statusCode));
    wide.back() = 0;
    // Cut to what the buffer holds: without that wish, a longer text would end the process.
    size_t converted = 0;
    if (wcstombs_s(&converted, narrow.data(), narrow.size(), wide.data(), _TRUNCATE) == EILSEQ) narrow.front() = 0;
    result["status"] = JSObject(narrow.data());
  });
}

}  // namespace NorvoWebAPI::KSV
