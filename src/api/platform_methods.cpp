#include "api/platform_methods.h"

#include <string>

#include "base/result_codes.h"
#include "base/system_identity.h"
#include "page/script_call.h"
#include "storage/platform_files.h"

namespace NorvoWebAPI::KSV::PlatformMethods {
namespace {

constexpr int32_t kNoLibraryAsked = 0;  // The status where no library takes part.

}  // namespace

void GetPlatformInfo(ScriptCall& call) {
  call.result.Set({kPluginOk, kNoLibraryAsked});
  std::string manufacturer;
  std::string model;
  std::string serialNumber;
  if (!Platform::GetSystemIdentity(manufacturer, model, serialNumber)) throw CPluginException{kFailed};
  call.result.keys["manufacturer"] = JSObject(std::move(manufacturer));
  call.result.keys["model"] = JSObject(std::move(model));
  call.result.keys["serialNumber"] = JSObject(std::move(serialNumber));
}

void IsUpdaterPromptRequired(ScriptCall& call) {
  // Stays when the base path can't be found: then no prompt is due.
  call.result.keys["promptRequired"] = JSObject(false);
  const bool hasAnswered = Platform::OpenForReading(Platform::GetBasePath() + "updater\\update_optin_time").is_open();
  call.result.Set({kPluginOk, kNoLibraryAsked});
  call.result.keys["promptRequired"] = JSObject(!hasAnswered);
}

}  // namespace NorvoWebAPI::KSV::PlatformMethods
