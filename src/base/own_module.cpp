#include "base/own_module.h"

namespace NorvoWebAPI {

HINSTANCE OwnModule() {
  HMODULE module = nullptr;
  GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                     reinterpret_cast<LPCSTR>(reinterpret_cast<void*>(&OwnModule)), &module);
  return module;
}

}  // namespace NorvoWebAPI
