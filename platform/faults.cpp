#include "platform/faults.h"

#include <cstdlib>

namespace platform {
namespace {

void SetVariable(const std::string& name, const char* value) {
#ifdef _WIN32
  // Through the run time, which reads its own copy of the environment; an empty value removes the variable.
  _putenv((name + "=" + (value ? value : "")).c_str());
#else
  if (value) {
    setenv(name.c_str(), value, 1);
  } else {
    unsetenv(name.c_str());
  }
#endif
}

}  // namespace

ScopedVariable::ScopedVariable(const char* name, const char* value) : name(name) {
  if (const char* old = std::getenv(name)) before = std::make_unique<std::string>(old);
  SetVariable(name, value);
}

ScopedVariable::~ScopedVariable() {
  SetVariable(name, before ? before->c_str() : nullptr);
}

}  // namespace platform
