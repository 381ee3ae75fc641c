#include <cerrno>
#include <cstdlib>
#include <cstring>

// The tool chain declares this call, but its run time lacks it. The headers mark it as imported, so callers go through
// the pointer below, which has the name that the import library would give it.
namespace {

errno_t __cdecl DuplicateVariable(char** value, size_t* size, const char* name) {
  if (!value || !name) return EINVAL;
  *value = nullptr;
  if (size) *size = 0;
  const char* found = std::getenv(name);
  if (!found) return 0;
  const size_t needed = std::strlen(found) + 1;
  // The caller frees it.
  *value = static_cast<char*>(std::malloc(needed));
  if (!*value) return ENOMEM;
  std::memcpy(*value, found, needed);
  if (size) *size = needed;
  return 0;
}

}  // namespace

#ifdef _WIN64
#define KSV_IMPORT_SLOT "__imp__dupenv_s"
#else
#define KSV_IMPORT_SLOT "__imp___dupenv_s"
#endif

extern "C" {
extern decltype(&DuplicateVariable) const duplicateVariableSlot asm(KSV_IMPORT_SLOT);
decltype(&DuplicateVariable) const duplicateVariableSlot = &DuplicateVariable;
}
