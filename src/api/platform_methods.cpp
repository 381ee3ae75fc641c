#include "api/platform_methods.h"

#include <string>

#include "base/result_codes.h"
#include "base/system_identity.h"
#include "library/result_object.h"
#include "page/script_call.h"
#include "storage/platform_files.h"

namespace NorvoWebAPI::KSV::PlatformMethods {
namespace {

constexpr int32_t kNoLibraryAsked = 0;  // What stands for the status of a library that has no part in the call.

}  // namespace

void GetPlatformInfo(ScriptCall& call) {
  StorePluginCode(call.result, kPluginOk);
  StoreStatus(call.result, kNoLibraryAsked);
  std::string manufacturer;
  std::string model;
  std::string serialNumber;
  if (!Platform::GetSystemIdentity(manufacturer, model, serialNumber)) throw CPluginException{kFailed};
  call.result["manufacturer"] = JSObject(std::move(manufacturer));
  call.result["model"] = JSObject(std::move(model));
  call.result["serialNumber"] = JSObject(std::move(serialNumber));
}

void IsUpdaterPromptRequired(ScriptCall& call) {
  // Stands if the file's place can't be found: a user whose profile is in disorder is not asked.
  call.result["promptRequired"] = JSObject(false);
  const bool hasAnswered = Platform::OpenForReading(Platform::GetBasePath() + "updater\\update_optin_time").is_open();
  StorePluginCode(call.result, kPluginOk);
  StoreStatus(call.result, kNoLibraryAsked);
  call.result["promptRequired"] = JSObject(!hasAnswered);
}

}  // namespace NorvoWebAPI::KSV::PlatformMethods
