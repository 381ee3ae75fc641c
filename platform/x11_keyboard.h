/// What the keys of an X display mean.
#pragma once

#include <xcb/xcb_keysyms.h>

#include <memory>

#include "platform/screen.h"

namespace platform {

/// Needs the connection while it lives. Belongs to one thread.
class X11Keyboard {
 public:
  explicit X11Keyboard(xcb_connection_t* connection) : symbols(xcb_key_symbols_alloc(connection)) {}

  bool isUsable() const { return symbols != nullptr; }
  /// The published number of a key, with what else is held; the number is 0 for keys that nobody asks for.
  KeyInput KeyOf(const xcb_key_press_event_t& event);
  /// The user has chosen another layout.
  void Refresh(xcb_mapping_notify_event_t changed) { xcb_refresh_keyboard_mapping(symbols.get(), &changed); }

 private:
  struct Free {
    void operator()(xcb_key_symbols_t* memory) const { xcb_key_symbols_free(memory); }
  };
  uint8_t CodeOf(xcb_keycode_t key, bool hasNumLock);

  std::unique_ptr<xcb_key_symbols_t, Free> symbols;
};

}  // namespace platform
