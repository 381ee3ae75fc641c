#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

#include "platform/internal.h"
#include "platform/system_path.h"

using platform::Fail;
using platform::InjectedError;

namespace {

// Its address is the handle of "kernel32", which has no file here.
char kernelModule;
HMODULE KernelModule() {
  return reinterpret_cast<HMODULE>(&kernelModule);
}

FARPROC KernelEntry(std::string_view name) {
  if (name != "IsWow64Process") return nullptr;
  return reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&IsWow64Process));
}

}  // namespace

HMODULE LoadLibraryW(LPCWSTR path) {
  if (InjectedError("LoadLibraryW")) return nullptr;
  if (!path) return Fail<HMODULE>(ERROR_INVALID_PARAMETER, nullptr);
  const std::string file = SystemPath(platform::Narrow(path));
  // The loader would search its own path for a bare name.
  if (!file.starts_with('/')) return Fail<HMODULE>(ERROR_MOD_NOT_FOUND, nullptr);
  void* handle = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (!handle) {
    return Fail<HMODULE>(access(file.c_str(), F_OK) == 0 ? ERROR_BAD_EXE_FORMAT : ERROR_MOD_NOT_FOUND, nullptr);
  }
  return static_cast<HMODULE>(handle);
}

FARPROC GetProcAddress(HMODULE module, LPCSTR name) {
  if (InjectedError("GetProcAddress")) return nullptr;
  if (!module || !name) return Fail<FARPROC>(ERROR_PROC_NOT_FOUND, nullptr);
  const FARPROC entry = module == KernelModule() ? KernelEntry(name) : reinterpret_cast<FARPROC>(dlsym(module, name));
  return entry ? entry : Fail<FARPROC>(ERROR_PROC_NOT_FOUND, nullptr);
}

BOOL FreeLibrary(HMODULE module) {
  if (!module || module == KernelModule() || dlclose(module) != 0) return Fail(ERROR_INVALID_HANDLE, FALSE);
  return TRUE;
}

HMODULE GetModuleHandleA(LPCSTR name) {
  if (InjectedError("GetModuleHandleA")) return nullptr;
  if (!name) {
    void* program = dlopen(nullptr, RTLD_NOW);
    dlclose(program);
    return static_cast<HMODULE>(program);
  }
  if (platform::EqualIgnoringCase(name, "kernel32")) return KernelModule();
  return Fail<HMODULE>(ERROR_MOD_NOT_FOUND, nullptr);
}

BOOL GetModuleHandleExA(DWORD flags, LPCSTR address, HMODULE* module) {
  if (!module) return Fail(ERROR_INVALID_PARAMETER, FALSE);
  *module = nullptr;
  if (InjectedError("GetModuleHandleEx")) return FALSE;
  if (flags != (GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT)) {
    return Fail(ERROR_CALL_NOT_IMPLEMENTED, FALSE);
  }
  Dl_info info{};
  link_map* map = nullptr;
  if (dladdr1(address, &info, reinterpret_cast<void**>(&map), RTLD_DL_LINKMAP) == 0 || !map) {
    return Fail(ERROR_MOD_NOT_FOUND, FALSE);
  }
  // The program itself has an empty name. No reference is kept: the caller asked for an unchanged count.
  void* handle = dlopen(*map->l_name == '\0' ? nullptr : map->l_name, RTLD_NOW | RTLD_NOLOAD);
  if (!handle) return Fail(ERROR_MOD_NOT_FOUND, FALSE);
  dlclose(handle);
  *module = static_cast<HMODULE>(handle);
  return TRUE;
}
