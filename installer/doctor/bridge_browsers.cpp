#include "installer/doctor/bridge_browsers.h"

namespace NorvoWebAPI::KSV::Doctor {

const char* ExtensionId(bool isFirefox) {
  return isFirefox ? KSV_FIREFOX_ID : KSV_CHROMIUM_ID;
}

void Policies::Add(const std::string& place, const Json& policies) {
  if (!policies.is_object()) return;
  for (const auto& [name, value] : policies.items()) {
    values[name] = value;
    places[name] = place;
  }
}

}  // namespace NorvoWebAPI::KSV::Doctor
