// AddressSanitizer refuses RTLD_DEEPBIND, by which Qt opens every library. A dlopen of the program's own stands in
// front and takes the flag away; the library's is found behind it.

#include <dlfcn.h>

#include <string_view>

namespace {

// Libraries of the system stay loaded, for what they keep counts as leaked once they are gone. The module and the agent
// are unloaded in earnest.
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
