#include "base/debug_log.h"

#include <cstdarg>
#include <cstddef>
#include <cstdio>

#include "platform/win32.h"

namespace NorvoWebAPI {

void DebugLog(bool enabled, const char* tag, const char* format, ...) {
  if (!enabled) return;
  char line[2048];
  const int head = std::snprintf(line, sizeof line, "[%d] [%s] ", static_cast<int>(GetCurrentThreadId()), tag);
  if (head < 0) return;
  va_list arguments;
  va_start(arguments, format);
  const int message = std::vsnprintf(line + head, sizeof line - static_cast<size_t>(head), format, arguments);
  va_end(arguments);
  if (message < 0) return;
  OutputDebugStringA(line);
}

}  // namespace NorvoWebAPI
