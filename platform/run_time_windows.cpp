#include <cerrno>
#include <cstdlib>
#include <cstring>

// The run time that the tool chain links declares this call and does not have it. The headers mark it as imported, so
// callers go through the slot below, which stands where the import library's own would.
namespace {

errno_t __cdecl DuplicateVariable(char** value, size_t* size, const char* name) {
  if (value == nullptr || name == nullptr) return EINVAL;
  *value = nullptr;
  if (size != nullptr) *size = 0;
  const char* found = std::getenv(name);
  if (found == nullptr) return 0;
  const size_t needed = std::strlen(found) + 1;
  // The caller frees it, as the published call has it.
  *value = static_cast<char*>(std::malloc(needed));
  if (*value == nullptr) return ENOMEM;
  std::memcpy(*value, found, needed);
  if (size != nullptr) *size = needed;
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
