#include "kit/display/disclosure.h"

#include "kit/shared/system.h"

namespace KsvDisplay::Disclosure {

#ifdef KSV_DISPLAY_DISCLOSES

std::filesystem::path KeysFile() {
  return KsvKit::System::PathFromEnvironment("KSV_DISPLAY_LAYOUT");
}

std::filesystem::path PictureFile() {
  return KsvKit::System::PathFromEnvironment("KSV_DISPLAY_PICTURE");
}

#else

std::filesystem::path KeysFile() {
  return {};
}

std::filesystem::path PictureFile() {
  return {};
}

#endif

}  // namespace KsvDisplay::Disclosure
