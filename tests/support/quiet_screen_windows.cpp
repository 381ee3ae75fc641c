#include "tests/support/quiet_screen.h"

namespace support {

QuietScreen::QuietScreen() = default;
QuietScreen::~QuietScreen() = default;

}  // namespace support
