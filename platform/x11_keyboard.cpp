#include "platform/x11_keyboard.h"

#include <X11/keysym.h>

namespace platform {

KeyInput X11Keyboard::KeyOf(const xcb_key_press_event_t& event) {
  const auto isHeld = [&event](uint16_t modifier) { return (event.state & modifier) != 0; };
  // Where servers have Alt and NumLock.
  constexpr uint16_t kAlt = XCB_MOD_MASK_1;
  constexpr uint16_t kNumLock = XCB_MOD_MASK_2;
  return {CodeOf(event.detail, isHeld(kNumLock)), isHeld(XCB_MOD_MASK_CONTROL), isHeld(kAlt)};
}

uint8_t X11Keyboard::CodeOf(xcb_keycode_t key, bool hasNumLock) {
  const xcb_keysym_t plain = xcb_key_symbols_get_keysym(symbols.get(), key, 0);
  const xcb_keysym_t shifted = xcb_key_symbols_get_keysym(symbols.get(), key, 1);
  // On some keyboards the digits of the upper row need Shift: they count without it.
  for (const xcb_keysym_t symbol : {plain, shifted}) {
    if (symbol >= XK_0 && symbol <= XK_9) return static_cast<uint8_t>('0' + (symbol - XK_0));
  }
  if (hasNumLock && shifted >= XK_KP_0 && shifted <= XK_KP_9) {
    return static_cast<uint8_t>(VK_NUMPAD0 + (shifted - XK_KP_0));
  }
  switch (plain) {
    case XK_BackSpace:
      return VK_BACK;
    case XK_Return:
    case XK_KP_Enter:
      return VK_RETURN;
    case XK_Escape:
      return VK_ESCAPE;
    case XK_Delete:
      return VK_DELETE;
    case XK_KP_Delete:
      return hasNumLock ? 0 : VK_DELETE;
    default:
      return 0;
  }
}

}  // namespace platform
