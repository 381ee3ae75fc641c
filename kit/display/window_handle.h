#pragma once

#include "platform/win32.h"

namespace KsvDisplay {

/// The window that a word of the contract names. Handles have 32 significant bits, sign-extended on 64-bit Windows.
inline HWND HandleOf(uint32_t window) noexcept {
  return reinterpret_cast<HWND>(static_cast<intptr_t>(static_cast<int32_t>(window)));
}

}  // namespace KsvDisplay
