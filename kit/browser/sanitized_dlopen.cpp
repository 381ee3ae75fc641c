// AddressSanitizer refuses RTLD_DEEPBIND, with which Qt opens every library. This dlopen overrides the C library's,
// removes the flag and calls it.

#include <dlfcn.h>

#include <string_view>

namespace {

// Libraries of the system stay loaded, because their remaining memory counts as leaked after unloading. The module and
// the agent are really unloaded.
bool IsOfSystem(const char* file) {
  const std::string_view path = file ? file : "";
  return !path.starts_with('/') || path.starts_with("/usr/") || path.starts_with("/lib");
}

}  // namespace

extern "C" __attribute__((visibility("default"))) void* dlopen(const char* file, int mode) {
  using Dlopen = void* (*)(const char*, int);
  static const auto next = reinterpret_cast<Dlopen>(dlsym(RTLD_NEXT, "dlopen"));
  return next(file, (mode & ~RTLD_DEEPBIND) | (IsOfSystem(file) ? RTLD_NODELETE : 0));
}
