#include <malloc.h>

#include <cstdlib>

#include "platform/internal.h"
#include "platform/testing.h"
#include "platform/testing_backend.h"

namespace platform {

const bool kHasLayerSettings = true;

size_t BlockSize(void* block) {
  return malloc_usable_size(block);
}

HWND MakeTestWindow(WNDPROC procedure, POINT clientOrigin, int, int) {
  return CreateLayerWindow(procedure, clientOrigin);
}

void MakeMouseInput(HWND window, UINT message, POINT client) {
  QueueMouseInput(window, message, client, message == WM_LBUTTONDOWN ? MK_LBUTTON : 0);
}

LRESULT DefaultProcedure(HWND, UINT, WPARAM, LPARAM) {
  return 0;
}

void SetVariable(const char* name, const char* value) {
  if (value == nullptr) {
    unsetenv(name);
  } else {
    setenv(name, value, 1);
  }
}

}  // namespace platform
