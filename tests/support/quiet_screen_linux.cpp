#include "tests/support/quiet_screen.h"
#include "tests/support/silent_screen_linux.h"

namespace support {

QuietScreen::QuietScreen() {
  platform::connectScreen = []() -> std::shared_ptr<platform::Screen> { return std::make_shared<SilentScreen>(); };
}

QuietScreen::~QuietScreen() {
  platform::connectScreen = nullptr;
}

}  // namespace support
